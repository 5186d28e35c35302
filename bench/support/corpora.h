// The documents that the JSON benchmarks read: some made here, always the same, and every *.json of the
// folder that the environment variable KE_CORPORA names. All are ASCII, as every library takes it: other
// characters of a file become \u escapes first.
#pragma once

#include <string>
#include <vector>

struct Corpus {
    std::string name;
    std::string text;
};

const std::vector<Corpus>& corpora();
