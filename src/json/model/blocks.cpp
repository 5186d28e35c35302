// Frees members that do not share a block with their child. blocks.h explains who owns a block.

#include "json/model/blocks.h"

#include <cstdlib>

namespace ke::json {

// Frees a member that does not share a block with its child. Either it has a block of its own, or
// it shares one with an earlier child, with which it was made and which may have been freed
// already. Only in the latter case is the member marked as shared. Then the header of that child
// can still be read, since the member is an owner of the block.
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
