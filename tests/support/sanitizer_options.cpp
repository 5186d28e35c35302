// The sanitizers' options for every test program, however it is started. An allocation that is too large
// returns NULL, as it does without sanitizers, because tests check how the library reacts to it.

extern "C" {

const char* __asan_default_options();
const char* __tsan_default_options();
const char* __ubsan_default_options();

const char* __asan_default_options() {
    return "allocator_may_return_null=1:detect_stack_use_after_return=1";
}

const char* __tsan_default_options() {
    return "allocator_may_return_null=1:halt_on_error=1";
}

const char* __ubsan_default_options() {
    return "print_stacktrace=1";
}

}  // extern "C"
