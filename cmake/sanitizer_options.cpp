// What the sanitizers are told in every program that they are built into.
// A program may still be told otherwise through ASAN_OPTIONS, UBSAN_OPTIONS and LSAN_OPTIONS.

extern "C" {

/// A stack trace with each report of undefined behaviour, which says but one line otherwise.
__attribute__((visibility("default"))) const char* __ubsan_default_options() {
  return "print_stacktrace=1";
}

/// Functions of other people's libraries that keep what they took until the program ends. One line each, the
/// function as it stands in a report, and why it is none of ours.
__attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "";
}
}
