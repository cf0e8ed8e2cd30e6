// What the sanitizers are told in every program that they are built into.
// A program may still be told otherwise through ASAN_OPTIONS, UBSAN_OPTIONS and LSAN_OPTIONS.

extern "C" {

/// Up to LLVM 16 the runtime may take a thread's variables for a block of the form that glibc had before 2.25, and
/// the search for leaks then ends in "Tracer caught signal 11": it is told not to follow them.
__attribute__((visibility("default"))) const char* __asan_default_options() {
  return "intercept_tls_get_addr=0";
}

/// A stack trace with each report of undefined behaviour, which says but one line otherwise.
__attribute__((visibility("default"))) const char* __ubsan_default_options() {
  return "print_stacktrace=1";
}

/// D-Bus, which Qt's platform theme loads, keeps its connection to the end of the process.
__attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:libdbus-1.so\n";
}
}
