/*
 * What the address sanitizer must know when it is compiled in. Other builds do not call this.
 */

extern "C" const char* __asan_default_options();

extern "C" const char* __asan_default_options() {
    // Each process has a copy of the library's variables, under the same names, and takes what it has
    // allocated with it when it ends.
    return "detect_odr_violation=0:detect_leaks=0:detect_stack_use_after_return=0";
}
