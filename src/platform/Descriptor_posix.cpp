#include "platform/Descriptor_posix.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

namespace fieldpost::posix {
namespace fs = std::filesystem;
namespace {

class DescriptorReader final : public FileReader {
 public:
  DescriptorReader(Descriptor descriptor, fs::path path)
      : descriptor_(std::move(descriptor)), path_(std::move(path)) {}

  std::size_t Read(std::span<char> buffer) override { return ReadSome(descriptor_.Number(), buffer, path_); }

 private:
  Descriptor descriptor_;
  fs::path path_;
};

}  // namespace

void Fail(std::string_view action, const fs::path& path, int error) {
  throw FileError(action, path, std::generic_category().message(error), error);
}

Descriptor::~Descriptor() {
  if (number_ >= 0) ::close(number_);
}

/// On Linux, a close that a signal interrupts has closed the descriptor (close(2)).
bool Descriptor::Close() {
  return ::close(Release()) == 0 || errno == EINTR;
}

Descriptor Open(const fs::path& path, int flags, std::string_view action, mode_t mode) {
  int number = -1;
  do {
    number = ::open(path.c_str(), flags | O_CLOEXEC, mode);
  } while (number < 0 && errno == EINTR);
  if (number < 0) Fail(action, path);
  return Descriptor(number);
}

Descriptor OpenIn(const Descriptor& folder, std::string_view name, int flags, std::string_view action,
                  const fs::path& path) {
  const std::string terminated(name);
  int number = -1;
  do {
    number = ::openat(folder.Number(), terminated.c_str(), flags | O_CLOEXEC);
  } while (number < 0 && errno == EINTR);
  if (number < 0) Fail(action, path);
  return Descriptor(number);
}

FileStamp StampOf(const struct stat& state) {
  return {.size = static_cast<std::uint64_t>(state.st_size),
          .modifiedNanoseconds = std::int64_t{state.st_mtim.tv_sec} * 1'000'000'000 + state.st_mtim.tv_nsec,
          .device = state.st_dev,
          .file = state.st_ino};
}

std::size_t ReadSome(int number, std::span<char> buffer, const fs::path& path) {
  ssize_t got = -1;
  do {
    got = ::read(number, buffer.data(), buffer.size());
  } while (got < 0 && errno == EINTR);
  if (got < 0) Fail("cannot read", path);
  return static_cast<std::size_t>(got);
}

std::unique_ptr<FileReader> ReaderOf(Descriptor file, fs::path path) {
  return std::make_unique<DescriptorReader>(std::move(file), std::move(path));
}

}  // namespace fieldpost::posix
