/*
 * What the library leaves allocated on purpose, for the leak sanitizer; the tests count these allocations
 * themselves. Other programs do not call this.
 */

extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions() {
    return "leak:NewNode\n"             // the node of a port without friendly name
           "leak:printGetLastError\n";  // the text of a system error
}
