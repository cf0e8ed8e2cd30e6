// Calls of libzip that fail with an out-of-memory error when a test requires it: see FailingCall.h.
#include <zip.h>

#include "support/FailingCall.h"

using fieldpost::test::CallFails;

namespace {

template <typename Result>
Result Failed(zip_t* archive, Result result) {
  zip_error_set(zip_get_error(archive), ZIP_ER_MEMORY, 0);
  return result;
}

}  // namespace

extern "C" {

zip_t* __real_zip_open(const char* path, int flags, int* code);
zip_source_t* __real_zip_source_function(zip_t* archive, zip_source_callback function, void* self);
zip_int64_t __real_zip_file_add(zip_t* archive, const char* name, zip_source_t* source, zip_flags_t flags);
int __real_zip_set_file_compression(zip_t* archive, zip_uint64_t index, zip_int32_t method,
                                    zip_uint32_t level);
int __real_zip_register_progress_callback_with_state(zip_t* archive, double precision,
                                                     zip_progress_callback callback, void (*end)(void*),
                                                     void* self);

zip_t* __wrap_zip_open(const char* path, int flags, int* code) {
  if (!CallFails("zip_open")) return __real_zip_open(path, flags, code);
  *code = ZIP_ER_MEMORY;
  return nullptr;
}

zip_source_t* __wrap_zip_source_function(zip_t* archive, zip_source_callback function, void* self) {
  if (!CallFails("zip_source_function")) return __real_zip_source_function(archive, function, self);
  return Failed<zip_source_t*>(archive, nullptr);
}

zip_int64_t __wrap_zip_file_add(zip_t* archive, const char* name, zip_source_t* source, zip_flags_t flags) {
  if (!CallFails("zip_file_add")) return __real_zip_file_add(archive, name, source, flags);
  return Failed<zip_int64_t>(archive, -1);
}

int __wrap_zip_set_file_compression(zip_t* archive, zip_uint64_t index, zip_int32_t method,
                                    zip_uint32_t level) {
  if (!CallFails("zip_set_file_compression")) {
    return __real_zip_set_file_compression(archive, index, method, level);
  }
  return Failed(archive, -1);
}

int __wrap_zip_register_progress_callback_with_state(zip_t* archive, double precision,
                                                     zip_progress_callback callback, void (*end)(void*),
                                                     void* self) {
  if (!CallFails("zip_register_progress_callback_with_state")) {
    return __real_zip_register_progress_callback_with_state(archive, precision, callback, end, self);
  }
  return Failed(archive, -1);
}

}  // extern "C"
