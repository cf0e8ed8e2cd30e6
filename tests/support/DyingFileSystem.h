// A file system of a program that is killed before its n-th change.
#pragma once

#include <cstddef>
#include <limits>

#include "platform/FileSystem.h"

namespace fieldpost::test {

/// Thrown where the program is killed. Nothing in the program catches it.
struct Killed {};

/// The disk until `changesLeft` changes were made. The next change throws Killed. Later changes, which
/// destructors make while the exception is handled, are ignored, because a killed program would not make
/// them.
class DyingFileSystem : public FileSystem {
 public:
  mutable std::size_t changesLeft = std::numeric_limits<std::size_t>::max();
  mutable std::size_t changes = 0;

  [[nodiscard]] bool IsFile(const std::filesystem::path& path) const override { return disk_.IsFile(path); }
  [[nodiscard]] bool IsFolder(const std::filesystem::path& path) const override {
    return disk_.IsFolder(path);
  }
  [[nodiscard]] bool Exists(const std::filesystem::path& path) const override { return disk_.Exists(path); }
  [[nodiscard]] FileStamp Stamp(const std::filesystem::path& path) const override {
    return disk_.Stamp(path);
  }
  [[nodiscard]] std::optional<FileStamp> RegularFileStamp(const std::filesystem::path& path) const override {
    return disk_.RegularFileStamp(path);
  }
  [[nodiscard]] std::vector<std::string> ListFiles(const std::filesystem::path& folder,
                                                   std::string_view ending) const override {
    return disk_.ListFiles(folder, ending);
  }
  [[nodiscard]] std::unique_ptr<FolderHandle> OpenFolder(const std::filesystem::path& path) const override {
    return std::make_unique<DyingFolder>(*this, disk_.OpenFolder(path));
  }
  [[nodiscard]] std::string ReadOwn(const std::filesystem::path& path,
                                    std::uint64_t maxBytes) const override {
    return disk_.ReadOwn(path, maxBytes);
  }
  [[nodiscard]] std::string ReadWhole(const std::filesystem::path& path,
                                      std::uint64_t maxBytes) const override {
    return disk_.ReadWhole(path, maxBytes);
  }
  [[nodiscard]] std::optional<FileContent> ReadFinished(const std::filesystem::path& path,
                                                        std::uint64_t maxBytes) const override {
    return disk_.ReadFinished(path, maxBytes);
  }
  [[nodiscard]] std::unique_ptr<FileReader> OpenForReading(const std::filesystem::path& path) const override {
    return disk_.OpenForReading(path);
  }
  [[nodiscard]] bool MayRemoveFrom(const std::filesystem::path& folder) const override {
    return disk_.MayRemoveFrom(folder);
  }
  [[nodiscard]] std::unique_ptr<FolderLock> TryLock(const std::filesystem::path& folder) override {
    return disk_.TryLock(folder);
  }
  void WriteNew(const std::filesystem::path& path, std::string_view bytes, FileAccess access) override {
    if (Lives()) disk_.WriteNew(path, bytes, access);
  }
  void Append(const std::filesystem::path& path, std::string_view bytes) override {
    if (Lives()) disk_.Append(path, bytes);
  }
  void Rename(const std::filesystem::path& from, const std::filesystem::path& to) override {
    if (Lives()) disk_.Rename(from, to);
  }
  void Move(const std::filesystem::path& from, const std::filesystem::path& to) override {
    if (Lives()) disk_.Move(from, to);
  }
  void Remove(const std::filesystem::path& path) override {
    if (Lives()) disk_.Remove(path);
  }
  void CreateFolder(const std::filesystem::path& path, FileAccess access) override {
    if (Lives()) disk_.CreateFolder(path, access);
  }
  void Flush(std::span<const std::filesystem::path> folders) override {
    if (Lives()) disk_.Flush(folders);
  }

 protected:
  void CopyPermissions(const std::filesystem::path& model, const std::filesystem::path& path) override {
    if (Lives()) std::filesystem::permissions(path, std::filesystem::status(model).permissions());
  }

 private:
  class DyingFolder final : public FolderHandle {
   public:
    DyingFolder(const DyingFileSystem& files, std::unique_ptr<FolderHandle> folder)
        : files_(files), folder_(std::move(folder)) {}

    [[nodiscard]] std::vector<std::string> ListFiles(std::string_view ending) const override {
      return folder_->ListFiles(ending);
    }
    [[nodiscard]] std::vector<std::string> ListFolders() const override { return folder_->ListFolders(); }
    [[nodiscard]] std::vector<std::string> ListAllButFolders() const override {
      return folder_->ListAllButFolders();
    }
    [[nodiscard]] bool IsEmpty() const override { return folder_->IsEmpty(); }
    [[nodiscard]] bool Exists(const std::string& name) const override { return folder_->Exists(name); }
    [[nodiscard]] std::optional<FileStamp> RegularFileStamp(const std::string& name) const override {
      return folder_->RegularFileStamp(name);
    }
    [[nodiscard]] std::unique_ptr<FileReader> OpenRegularFile(const std::string& name) const override {
      return folder_->OpenRegularFile(name);
    }
    [[nodiscard]] std::unique_ptr<FolderHandle> OpenFolder(const std::string& name) const override {
      return std::make_unique<DyingFolder>(files_, folder_->OpenFolder(name));
    }
    bool Remove(const std::string& name) override { return files_.Lives() && folder_->Remove(name); }
    bool RemoveEmptyFolder(const std::string& name) override {
      return files_.Lives() && folder_->RemoveEmptyFolder(name);
    }

   private:
    const DyingFileSystem& files_;
    std::unique_ptr<FolderHandle> folder_;
  };

  bool Lives() const {
    ++changes;
    if (dead_) return false;
    if (changesLeft-- > 0) return true;
    dead_ = true;
    throw Killed();
  }

  DiskFileSystem disk_;
  mutable bool dead_ = false;
};

}  // namespace fieldpost::test
