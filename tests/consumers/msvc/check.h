/* Prints which checks fail, and where; main() returns check_failures(). */
#pragma once
#include <stdio.h>

static int failures;
static int checks;

#define CHECK(condition) check_that((condition) ? 1 : 0, #condition, __FILE__, __LINE__)

static void check_that(int holds, const char* condition, const char* file, int line) {
    ++checks;
    if (!holds) {
        ++failures;
        fprintf(stdout, "%s:%d: not true: %s\n", file, line, condition);
    }
}

/* "name: 12 checks": a program that stops half-way does not print this line. */
static int check_failures(const char* name) {
    fprintf(stdout, "%s: %d checks, %d failed\n", name, checks, failures);
    return failures != 0;
}
