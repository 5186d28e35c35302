// Disk capacities by the IDEMA rule for LBA counts (document LBA1-03 of the International Disk
// Drive Equipment and Materials Association): a number of blocks for 50 GB, and a step for each
// further gigabyte. Capacities below 50 GB, and numbers of blocks below that of 50 GB, wrap modulo
// 2^64.
#include "ke_utils/text.h"

namespace {

constexpr u64 kBaseGigabytes = 50;

struct Rule {
    u64 base;  // blocks at kBaseGigabytes
    u64 step;  // blocks for each further gigabyte
};

constexpr Rule kRule512 = {97696368, 1953504};
constexpr Rule kRule4096 = {12212046, 244188};

constexpr const Rule& rule_of(int sector_size) {
    return sector_size < 4096 ? kRule512 : kRule4096;
}

}  // namespace

u64 wiq_get_lba_count_idema(u64 gb, int sector_size) {
    const Rule& rule = rule_of(sector_size);
    return rule.base + rule.step * (gb - kBaseGigabytes);
}

u64 wiq_gb_to_bytes_idema(u64 gb, int sector_size) {
    return wiq_get_lba_count_idema(gb, sector_size) *
           static_cast<u64>(static_cast<i64>(sector_size));
}

u64 wiq_get_cap_idema(u64 lba_count, int sector_size) {
    const Rule& rule = rule_of(sector_size);
    return (lba_count - rule.base) / rule.step + kBaseGigabytes;
}
