#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "common/PathText.h"
#include "common/Text.h"
#include "platform/Descriptor_posix.h"

namespace fieldpost::posix {
namespace fs = std::filesystem;
namespace {

struct CloseFolder {
  void operator()(DIR* folder) const { ::closedir(folder); }
};

bool IsDots(std::string_view name) {
  return name == "." || name == "..";
}

class DescriptorFolder final : public FolderHandle {
 public:
  DescriptorFolder(Descriptor folder, fs::path path) : folder_(std::move(folder)), path_(std::move(path)) {}

  [[nodiscard]] std::vector<std::string> ListFiles(std::string_view ending) const override {
    return List(
        [&](std::string_view name, mode_t type) { return type == S_IFREG && EndsWithNoCase(name, ending); });
  }

  [[nodiscard]] std::vector<std::string> ListFolders() const override {
    return List([](std::string_view, mode_t type) { return type == S_IFDIR; });
  }

  [[nodiscard]] std::vector<std::string> ListAllButFolders() const override {
    return List([](std::string_view, mode_t type) { return type != S_IFDIR; });
  }

  [[nodiscard]] bool IsEmpty() const override {
    return List([](std::string_view, mode_t) { return true; }).empty();
  }

  [[nodiscard]] bool Exists(const std::string& name) const override { return Look(name).has_value(); }

  [[nodiscard]] std::optional<FileStamp> RegularFileStamp(const std::string& name) const override {
    const std::optional<struct stat> state = Look(name);
    if (!state || !S_ISREG(state->st_mode)) return std::nullopt;
    return StampOf(*state);
  }

  [[nodiscard]] std::unique_ptr<FileReader> OpenRegularFile(const std::string& name) const override {
    RequirePlainName(name);
    // O_NONBLOCK keeps a pipe in the file's place from blocking the program.
    Descriptor file = OpenIn(folder_, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK, "cannot open", PathOf(name));
    struct stat state {};
    if (::fstat(file.Number(), &state) != 0) Fail("cannot access", PathOf(name));
    if (!S_ISREG(state.st_mode)) throw FileError("cannot read", PathOf(name), "not a regular file");
    return ReaderOf(std::move(file), PathOf(name));
  }

  [[nodiscard]] std::unique_ptr<FolderHandle> OpenFolder(const std::string& name) const override {
    RequirePlainName(name);
    const fs::path path = PathOf(name);
    return HoldFolder(OpenIn(folder_, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW, "cannot list", path), path);
  }

  bool Remove(const std::string& name) override { return Unlink(name, 0); }

  bool RemoveEmptyFolder(const std::string& name) override { return Unlink(name, AT_REMOVEDIR); }

 private:
  [[nodiscard]] fs::path PathOf(std::string_view name) const { return path_ / PathFromUtf8(name); }

  void RequirePlainName(std::string_view name) const {
    const bool plain = !name.empty() && !IsDots(name) &&
                       name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
    if (!plain)
      throw FileError("cannot access", path_, "\"" + EscapeControls(name) + "\" is not a plain filename");
  }

  [[nodiscard]] std::optional<struct stat> Look(const std::string& name) const {
    RequirePlainName(name);
    struct stat state {};
    if (::fstatat(folder_.Number(), name.c_str(), &state, AT_SYMLINK_NOFOLLOW) != 0) return std::nullopt;
    return state;
  }

  bool Unlink(const std::string& name, int flags) {
    RequirePlainName(name);
    if (::unlinkat(folder_.Number(), name.c_str(), flags) == 0) return true;
    if (errno == ENOENT) return false;
    Fail("cannot remove", PathOf(name));
  }

  [[nodiscard]] mode_t TypeOf(const dirent& entry) const {
    if (entry.d_type != DT_UNKNOWN) return DTTOIF(static_cast<mode_t>(entry.d_type));
    struct stat state {};
    const bool known = ::fstatat(folder_.Number(), entry.d_name, &state, AT_SYMLINK_NOFOLLOW) == 0;
    return known ? state.st_mode & S_IFMT : 0;
  }

  /// Opens the folder anew for each listing, because the listings of one descriptor share its position.
  template <class Wanted>
  [[nodiscard]] std::vector<std::string> List(Wanted wanted) const {
    const std::unique_ptr<DIR, CloseFolder> stream(
        ::fdopendir(OpenIn(folder_, ".", O_RDONLY | O_DIRECTORY, "cannot list", path_).Release()));
    if (!stream) Fail("cannot list", path_);
    std::vector<std::string> names;
    for (;;) {
      errno = 0;
      const dirent* const entry = ::readdir(stream.get());
      if (entry == nullptr) break;
      const std::string_view name = entry->d_name;
      if (!IsDots(name) && wanted(name, TypeOf(*entry))) names.emplace_back(name);
    }
    if (errno != 0) Fail("cannot list", path_);
    std::sort(names.begin(), names.end());
    return names;
  }

  Descriptor folder_;
  fs::path path_;
};

}  // namespace

std::unique_ptr<FolderHandle> HoldFolder(Descriptor folder, fs::path path) {
  return std::make_unique<DescriptorFolder>(std::move(folder), std::move(path));
}

}  // namespace fieldpost::posix
