// What the sanitizers shall do in every test program, however it is started: an allocation that is
// too large is answered with NULL, as without them, because the library's answer to it is tested.

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
