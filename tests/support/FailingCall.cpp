#include "support/FailingCall.h"

#include <dirent.h>
#include <ifaddrs.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

// The linker redirects the calls of NAME from the program's own objects to __wrap_NAME; __real_NAME is the
// system's function. tests/CMakeLists.txt lists the wrapped calls.

namespace fieldpost::test {
namespace {

std::vector<FailingCall*> living;

}  // namespace

bool CallFails(std::string_view name) {
  return std::any_of(living.begin(), living.end(), [&](FailingCall* call) { return call->Fails(name); });
}

FailingCall::FailingCall(std::string_view name, int error, int passed, int times)
    : name_(name), error_(error), passed_(passed), times_(times) {
  living.push_back(this);
}

FailingCall::~FailingCall() {
  std::erase(living, this);
}

bool FailingCall::Fails(std::string_view name) {
  if (name != name_ || passed_-- > 0 || failures_ == times_) return false;
  ++failures_;
  errno = error_;
  return true;
}

}  // namespace fieldpost::test

using fieldpost::test::CallFails;

extern "C" {

int __real_access(const char* path, int rights);
int __real_chmod(const char* path, mode_t mode);
int __real_close(int number);
int __real_fchmod(int number, mode_t mode);
int __real_fcntl(int number, int command, long argument);
DIR* __real_fdopendir(int number);
int __real_flock(int number, int operation);
int __real_fstat(int number, struct stat* state);
int __real_fstatat(int folder, const char* name, struct stat* state, int flags);
int __real_fsync(int number);
int __real_getifaddrs(ifaddrs** first);
passwd* __real_getpwuid(uid_t user);
int __real_mkdir(const char* path, mode_t mode);
int __real_open(const char* path, int flags, mode_t mode);
int __real_openat(int folder, const char* name, int flags, mode_t mode);
ssize_t __real_read(int number, void* buffer, size_t size);
dirent* __real_readdir(DIR* folder);
ssize_t __real_recvfrom(int number, void* buffer, size_t size, int flags, sockaddr* from, socklen_t* length);
ssize_t __real_recvmsg(int number, msghdr* message, int flags);
int __real_rename(const char* from, const char* to);
int __real_socket(int domain, int type, int protocol);
int __real_stat(const char* path, struct stat* state);
int __real_syncfs(int number);
int __real_unlink(const char* path);
int __real_unlinkat(int folder, const char* name, int flags);
ssize_t __real_write(int number, const void* bytes, size_t size);

int __wrap_access(const char* path, int rights) {
  return CallFails("access") ? -1 : __real_access(path, rights);
}

int __wrap_chmod(const char* path, mode_t mode) {
  return CallFails("chmod") ? -1 : __real_chmod(path, mode);
}

int __wrap_close(int number) {
  const int status = __real_close(number);
  return CallFails("close") ? -1 : status;
}

int __wrap_fchmod(int number, mode_t mode) {
  return CallFails("fchmod") ? -1 : __real_fchmod(number, mode);
}

int __wrap_fcntl(int number, int command, long argument) {
  return CallFails("fcntl") ? -1 : __real_fcntl(number, command, argument);
}

DIR* __wrap_fdopendir(int number) {
  return CallFails("fdopendir") ? nullptr : __real_fdopendir(number);
}

int __wrap_flock(int number, int operation) {
  return CallFails("flock") ? -1 : __real_flock(number, operation);
}

int __wrap_fstat(int number, struct stat* state) {
  return CallFails("fstat") ? -1 : __real_fstat(number, state);
}

int __wrap_fstatat(int folder, const char* name, struct stat* state, int flags) {
  return CallFails("fstatat") ? -1 : __real_fstatat(folder, name, state, flags);
}

int __wrap_fsync(int number) {
  return CallFails("fsync") ? -1 : __real_fsync(number);
}

int __wrap_getifaddrs(ifaddrs** first) {
  return CallFails("getifaddrs") ? -1 : __real_getifaddrs(first);
}

passwd* __wrap_getpwuid(uid_t user) {
  return CallFails("getpwuid") ? nullptr : __real_getpwuid(user);
}

int __wrap_mkdir(const char* path, mode_t mode) {
  return CallFails("mkdir") ? -1 : __real_mkdir(path, mode);
}

int __wrap_open(const char* path, int flags, mode_t mode) {
  return CallFails("open") ? -1 : __real_open(path, flags, mode);
}

int __wrap_openat(int folder, const char* name, int flags, mode_t mode) {
  return CallFails("openat") ? -1 : __real_openat(folder, name, flags, mode);
}

ssize_t __wrap_read(int number, void* buffer, size_t size) {
  return CallFails("read") ? -1 : __real_read(number, buffer, size);
}

// "kind of readdir" simulates a file system that does not report the kinds of its entries.
dirent* __wrap_readdir(DIR* folder) {
  if (CallFails("readdir")) return nullptr;
  dirent* const entry = __real_readdir(folder);
  if (entry != nullptr && CallFails("kind of readdir")) entry->d_type = DT_UNKNOWN;
  return entry;
}

ssize_t __wrap_recvfrom(int number, void* buffer, size_t size, int flags, sockaddr* from, socklen_t* length) {
  return CallFails("recvfrom") ? -1 : __real_recvfrom(number, buffer, size, flags, from, length);
}

ssize_t __wrap_recvmsg(int number, msghdr* message, int flags) {
  return CallFails("recvmsg") ? -1 : __real_recvmsg(number, message, flags);
}

int __wrap_rename(const char* from, const char* to) {
  return CallFails("rename") ? -1 : __real_rename(from, to);
}

int __wrap_socket(int domain, int type, int protocol) {
  return CallFails("socket") ? -1 : __real_socket(domain, type, protocol);
}

int __wrap_stat(const char* path, struct stat* state) {
  return CallFails("stat") ? -1 : __real_stat(path, state);
}

int __wrap_syncfs(int number) {
  return CallFails("syncfs") ? -1 : __real_syncfs(number);
}

int __wrap_unlink(const char* path) {
  return CallFails("unlink") ? -1 : __real_unlink(path);
}

int __wrap_unlinkat(int folder, const char* name, int flags) {
  return CallFails("unlinkat") ? -1 : __real_unlinkat(folder, name, flags);
}

ssize_t __wrap_write(int number, const void* bytes, size_t size) {
  return CallFails("write") ? -1 : __real_write(number, bytes, size);
}

}  // extern "C"
