// What the sanitizers are told in every program that they are built into.
// A program may still be told otherwise through UBSAN_OPTIONS.

extern "C" {

/// A stack trace with each report of undefined behaviour, which says but one line otherwise.
__attribute__((visibility("default"))) const char* __ubsan_default_options() {
  return "print_stacktrace=1";
}
}
