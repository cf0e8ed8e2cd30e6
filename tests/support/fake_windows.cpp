// A fake of the library of the program's windows: returns the number of arguments plus one.

extern "C" __attribute__((visibility("default"))) int FieldpostWindow(int count, char** arguments);

int FieldpostWindow(int count, char** arguments) {
  return arguments[0] == nullptr ? 0 : count + 1;
}
