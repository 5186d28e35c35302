// Scripts of calls with bad arguments. The input decides which arguments are bad. A call with a bad argument must
// change nothing and fail with the status that the reference gives; any other call must succeed.
#include "arguments.h"

#include <iterator>

#include "arguments_chaining.h"
#include "arguments_containers.h"
#include "arguments_json.h"
#include "arguments_text.h"

namespace {

struct Table {
    const StatusCall* calls;
    size_t count;
};
template <size_t n>
constexpr Table table_of(const StatusCall (&calls)[n]) {
    return {calls, n};
}
const Table kTables[] = {
    table_of(plain::kContainers), table_of(plain::kCore),  table_of(plain::kText),
    table_of(plain::kValues),     table_of(plain::kFiles), table_of(json::kStatuses),
};

void report(const char* kind, size_t number, i64 returned, i64 expected) {
    fprintf(stderr, "%s %zu: %lld, not %lld\n", kind, number, static_cast<long long>(returned),
            static_cast<long long>(expected));
}

void check_status(const Op& op, size_t table) {
    const size_t number = op.a % kTables[table].count;
    const StatusCall& call = kTables[table].calls[number];
    Args args(op);
    const std::string before = args.text();
    const i32 status = call.make(args);
    const i32 expected = args.bad ? call.refused : call.good;
    if (status != expected)
        report("table and call", 1000 * table + number, status, expected);
    CHECK(status == expected);
    CHECK(!args.bad || args.text() == before);
}

// The status variable is 0, or holds an earlier failure, or is not passed at all.
void check_chaining(const Op& op) {
    const size_t number = op.a % std::size(chaining::kCalls);
    const ChainingCall& call = chaining::kCalls[number];
    Args args(op);
    const std::string before = args.text();
    const bool asked = op.e % 3 != 2;
    const bool failed_before = op.e % 3 == 1;
    u32 err = failed_before ? static_cast<u32>(WIQ_ERR_FAILED) : 0;
    const bool made = call.make(args, asked ? &err : nullptr);
    const bool nothing_done = failed_before && call.chains;
    const i32 expected = nothing_done ? static_cast<i32>(WIQ_ERR_FAILED)
                         : args.bad   ? call.refused
                                      : 0;
    if (asked && static_cast<i32>(err) != expected)
        report("chaining call", number, static_cast<i32>(err), expected);
    CHECK(!asked || static_cast<i32>(err) == expected);
    CHECK(made == (expected == 0));
    CHECK(expected == 0 || args.text() == before);
}

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    for (const Op& op : script_of(data, size)) {
        const size_t table = op.code % (std::size(kTables) + 1);
        if (table < std::size(kTables))
            check_status(op, table);
        else
            check_chaining(op);
    }
    return 0;
}
