// What the sanitizers are told in every program that they are built into.
// A program may still be told otherwise through UBSAN_OPTIONS.

extern "C" {

/// A stack trace with each report of undefined behaviour, which says but one line otherwise.
__attribute__((visibility("default"))) const char* __ubsan_default_options() {
  return "print_stacktrace=1";
}

/// D-Bus, which Qt's platform theme loads, keeps its connection to the end of the process.
__attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:libdbus-1.so\n";
}
}
