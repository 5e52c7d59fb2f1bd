/*
 * Part of the shared object alone, which carries a C++ runtime of its own.
 */

namespace __gnu_cxx {  // NOLINT: the runtime's name
void __freeres();      // NOLINT
}  // namespace __gnu_cxx

/**
 * Runs when the library is unloaded, and at the end of the process. The runtime keeps a store for exceptions
 * that must be thrown when there is no memory, 70 KB that it allocates when it is loaded and leaves to the
 * system at the end. A program that loads the library anew for each sale would collect gigabytes of them.
 */
__attribute__((destructor)) static void FreeExceptionStore() {
    __gnu_cxx::__freeres();
}
