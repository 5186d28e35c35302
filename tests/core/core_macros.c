/* Uses the macros of core.h as a C program would; core_macros_test.cpp checks the results. */
#include "core/core_macros.h"

#include <string.h>

static size_t told;

static void tell(size_t size) {
    told = size;
}

#define KE_ALLOC_FAIL tell
#include "ke_utils/core.h"

#if !KE_VERSION_AT_LEAST(0, 9, 9) || KE_VERSION_AT_LEAST(99, 0, 0)
#error "a version cannot be asked for where the preprocessor decides"
#endif

static int check_blocks(void) {
    char* text = KE_STRDUP("text");
    char* zeros = (char*)KE_MALLOC0(8);
    char* block = (char*)KE_MALLOC(8);
    int result = text != NULL && strcmp(text, "text") == 0 && zeros != NULL &&
                 memcmp(zeros, "\0\0\0\0\0\0\0", 8) == 0 && block != NULL;
    char* larger = (char*)KE_REALLOC(block, 100);
    void* aligned = NULL;
    result = result && larger != NULL && KE_ALIGNED_ALLOC(&aligned, 10, 64) == 0 && aligned != NULL;
    /* Releases all blocks but the text. The reallocation counts as an allocation, so there were five. */
    KE_FREE(zeros);
    KE_FREE(larger);
    KE_ALIGNED_FREE(aligned);
    result = result && wiq_memleak_balance() == 1 && wiq_memleak_count() == 5;
    KE_FREE(text);
    return result && wiq_memleak_balance() == 0;
}

int core_macros_allocate(void) {
    /* Without a tracker the slots are empty, and the statements do nothing. */
    int result;
    KE_ALLOC_TRACK_PAUSE();
    KE_ALLOC_TRACK_RESUME();
    wiq_memleak_begin();
    result = check_blocks();
    if (result)
        KE_ALLOC_TRACK_PAUSE();
    else
        KE_ALLOC_TRACK_RESUME();
    KE_FREE(KE_MALLOC(1));
    KE_ALLOC_TRACK_RESUME();
    return result && wiq_memleak_balance() == 0 && wiq_memleak_count() == 5;
}

size_t core_macros_told(void) {
    void* aligned = NULL;
    size_t sum = 0;
    told = 0;
    KE_FREE(KE_MALLOC(SIZE_MAX / 2));
    sum += told == SIZE_MAX / 2;
    told = 0;
    KE_FREE(KE_MALLOC0(SIZE_MAX / 2 - 1));
    sum += told == SIZE_MAX / 2 - 1;
    told = 0;
    KE_FREE(KE_REALLOC(NULL, SIZE_MAX / 2 - 2));
    sum += told == SIZE_MAX / 2 - 2;
    told = 0;
    sum += KE_FAILED(KE_ALIGNED_ALLOC(&aligned, SIZE_MAX / 2 - 3, 16)) && told == SIZE_MAX / 2 - 3;
    return sum;
}

int core_macros_failed(u32 err) {
    return KE_FAILED(err);
}

const char* core_macros_name(i32 status) {
    return ke_status_name(status);
}

const char* core_macros_meaning(i32 status) {
    return ke_status_meaning(status);
}

const char* core_macros_version(void) {
    return KE_VERSION_STRING;
}
