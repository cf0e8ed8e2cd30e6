// A library with only one trivial function.

extern "C" __attribute__((visibility("default"))) int fieldpost_small_library();

int fieldpost_small_library() {
  return 1;
}
