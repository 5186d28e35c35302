/* Counts words: a map from words to counters, a string list to show them in order. Without arguments it reads
 * its own source. */
#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>

#include "ke_utils.h"

static void* make_counter(const void* key, void* user, i32* status) {
    (void)key, (void)user;
    int* counter = calloc(1, sizeof(int));
    if (counter == NULL)
        *status = WIQ_ERR_NO_MEMORY;
    return counter;
}

/* The map owns the word if it was new. */
static i32 count_word(wiq_map* words, const char* text, u64 length) {
    char* word = malloc(length + 1);
    if (word == NULL)
        return WIQ_ERR_NO_MEMORY;
    wiq_snprintf(word, length + 1, "%.*s", (int)length, text);
    const bool known = wiq_map_test_key(words, word);
    i32 status = 0;
    int* counter = wiq_map_memoize(words, word, make_counter, NULL, &status);
    if (known || status != 0)
        free(word);
    if (status == 0)
        ++*counter;
    return status;
}

static bool list_frequent(void* key, void* value, void* user) {
    const int count = *(const int*)value;
    return count < 4 || wiq_strv_pushf(user, "%-12s %d", (const char*)key, count) == 0;
}

int main(int argc, char** argv) {
    void* text = NULL;
    const i32 size = wiq_load_file(argc > 1 ? argv[1] : "word_count.c", &text, 1);
    wiq_map words;
    wiq_strv list;
    if (size < 0 || wiq_map_init(&words, 0, wiq_hash_str, wiq_cmp_str, free, free) != 0) {
        fprintf(stderr, "status %d\n", (int)size);
        return 1;
    }
    i32 status = wiq_strv_init(&list);
    for (const char* p = text; status == 0 && *p != '\0';) {
        const char* start = p;
        while (isalpha((unsigned char)*p))
            ++p;
        if (p != start)
            status = count_word(&words, start, (u64)(p - start));
        else
            ++p;
    }
    if (status == 0) {
        wiq_map_foreach(&words, list_frequent, &list);
        wiq_strv_sort(&list);
        for (i32 i = 0; i < wiq_vector_size(&list); ++i)
            puts(wiq_strv_get(&list, (u32)i));
    }
    wiq_strv_finalize(&list);
    wiq_map_finalize(&words);
    free(text);
    return status != 0;
}
