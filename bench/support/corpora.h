// The documents that the JSON benchmarks read: some are generated here and never change; others are all
// *.json files of the folder that the environment variable KE_CORPORA names. All are ASCII, which every
// library accepts; other characters of a file are converted to \u escapes first.
#pragma once

#include <string>
#include <vector>

struct Corpus {
    std::string name;
    std::string text;
};

const std::vector<Corpus>& corpora();
