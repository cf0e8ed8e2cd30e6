// Calls of libcurl that fail when a test requires it: see FailingCall.h.
#include <curl/curl.h>

#include "support/FailingCall.h"

using fieldpost::test::CallFails;

extern "C" {

CURL* __real_curl_easy_init();
CURLcode __real_curl_easy_setopt(CURL* handle, CURLoption option, void* value);
CURLM* __real_curl_multi_init();
CURLMcode __real_curl_multi_add_handle(CURLM* multi, CURL* easy);
CURLMcode __real_curl_multi_perform(CURLM* handle, int* running);
CURLMcode __real_curl_multi_poll(CURLM* handle, curl_waitfd* fds, unsigned count, int milliseconds,
                                 int* ready);

CURL* __wrap_curl_easy_init() {
  return CallFails("curl_easy_init") ? nullptr : __real_curl_easy_init();
}

// The third argument is a number or a pointer; both are passed in the same way.
CURLcode __wrap_curl_easy_setopt(CURL* handle, CURLoption option, void* value) {
  return CallFails("curl_easy_setopt") ? CURLE_OUT_OF_MEMORY : __real_curl_easy_setopt(handle, option, value);
}

CURLM* __wrap_curl_multi_init() {
  return CallFails("curl_multi_init") ? nullptr : __real_curl_multi_init();
}

CURLMcode __wrap_curl_multi_add_handle(CURLM* multi, CURL* easy) {
  return CallFails("curl_multi_add_handle") ? CURLM_OUT_OF_MEMORY : __real_curl_multi_add_handle(multi, easy);
}

CURLMcode __wrap_curl_multi_poll(CURLM* handle, curl_waitfd* fds, unsigned count, int milliseconds,
                                 int* ready) {
  if (CallFails("curl_multi_poll")) return CURLM_OUT_OF_MEMORY;
  return __real_curl_multi_poll(handle, fds, count, milliseconds, ready);
}

CURLMcode __wrap_curl_multi_perform(CURLM* handle, int* running) {
  return CallFails("curl_multi_perform") ? CURLM_OUT_OF_MEMORY : __real_curl_multi_perform(handle, running);
}

}  // extern "C"
