// Frees members that do not share a block with their child. blocks.h explains who owns a block.

#include "json/model/blocks.h"

#include <cstdlib>

namespace ke::json {

// Either the member has a block of its own, or it shares one with an earlier child, with which it
// was made. Only in the latter case can the member's bit kShared be set. Then the header of that
// child can still be read, even if the child has been released, since the member owns the block,
// too. The bit may also be cleared because the earlier child left first; the block is then the
// member's alone.
void free_separate_member(Member* member) {
    if (member->is_shared()) {
        auto* made_with = reinterpret_cast<wiq_json*>(end_of(member));
        // In a chunk, the member counts as one more block.
        if (made_with->in_chunk != 0) {
            release_blocks(*mark_of(made_with), 1);
            return;
        }
        if (member->unshare())
            return;
    }
    free(member);
}

}  // namespace ke::json
