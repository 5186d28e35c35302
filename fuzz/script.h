// Scripts of operations, for targets that do many things to one object. An operation has six bytes, its code
// and five operands. A script must be mutated by whole operations, because inserting or removing one byte
// would change the meaning of everything after it. A target that includes this header gets such a mutator.
#pragma once

#include <algorithm>
#include <random>
#include <vector>

#include "input.h"

struct Op {
    u8 code, a, b, c, d, e;
};
using Script = std::vector<Op>;

// Longer scripts find nothing that shorter ones do not, and are slower.
constexpr size_t kMaxScript = 200;

inline Script script_of(const u8* data, size_t size) {
    Script script(std::min(size / sizeof(Op), kMaxScript));
    if (!script.empty())
        memcpy(script.data(), data, script.size() * sizeof(Op));
    return script;
}

inline size_t write_script(const Script& script, u8* data, size_t room) {
    const size_t count = std::min({script.size(), room / sizeof(Op), kMaxScript});
    if (count != 0)
        memcpy(data, script.data(), count * sizeof(Op));
    return count * sizeof(Op);
}

extern "C" size_t LLVMFuzzerMutate(u8* data, size_t size, size_t room);

namespace mutation {

using Random = std::minstd_rand;

inline size_t below(Random& random, size_t limit) {
    return limit == 0 ? 0 : random() % limit;
}

inline Op new_op(Random& random) {
    // With small operands, the same few things are named again and again.
    const auto small = [&] { return static_cast<u8>(random() % (random() % 4 == 0 ? 256 : 8)); };
    return {static_cast<u8>(random() % 64), small(), small(), small(), small(), small()};
}

inline void change(Script& script, Random& random) {
    const size_t at = below(random, script.size());
    Op& op = script[at];
    switch (random() % 7) {
        case 0:
            script.insert(script.begin() + static_cast<ptrdiff_t>(at), new_op(random));
            break;
        case 1:
            script.push_back(new_op(random));
            break;
        case 2:
            script.erase(script.begin() + static_cast<ptrdiff_t>(at));
            break;
        case 3: {  // repeat it later
            const Op copy = op;
            script.insert(
                script.begin() + static_cast<ptrdiff_t>(at + below(random, script.size() - at)),
                copy);
            break;
        }
        case 4:
            std::swap(op, script[below(random, script.size())]);
            break;
        case 5:  // apply it to something else
            (&op.a)[random() % 5] = new_op(random).a;
            break;
        default:
            LLVMFuzzerMutate(&op.code, sizeof(Op), sizeof(Op));
    }
}

}  // namespace mutation

extern "C" inline size_t mutate_script(u8* data, size_t size, size_t room, unsigned seed) {
    mutation::Random random(seed);
    Script script = script_of(data, size);
    for (size_t n = 1 + random() % 4; n > 0; --n) {
        if (script.empty())
            script.push_back(mutation::new_op(random));
        else
            mutation::change(script, random);
    }
    return write_script(script, data, room);
}

// Combines the beginning of one script with the end of another.
extern "C" inline size_t cross_scripts(const u8* a, size_t size_a, const u8* b, size_t size_b,
                                       u8* out, size_t room, unsigned seed) {
    mutation::Random random(seed);
    Script first = script_of(a, size_a);
    const Script second = script_of(b, size_b);
    first.resize(mutation::below(random, first.size() + 1));
    first.insert(
        first.end(),
        second.begin() + static_cast<ptrdiff_t>(mutation::below(random, second.size() + 1)),
        second.end());
    return write_script(first, out, room);
}

// Each of these targets is one source file, so the definitions can be in this header.
extern "C" size_t LLVMFuzzerCustomMutator(u8* data, size_t size, size_t room, unsigned seed) {
    return mutate_script(data, size, room, seed);
}
extern "C" size_t LLVMFuzzerCustomCrossOver(const u8* a, size_t size_a, const u8* b, size_t size_b,
                                            u8* out, size_t room, unsigned seed) {
    return cross_scripts(a, size_a, b, size_b, out, room, seed);
}
