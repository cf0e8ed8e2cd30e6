// A file system that records changes and flushes, and checks of the order in which they become durable.
#pragma once

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "common/PathText.h"
#include "platform/FileSystem.h"

namespace fieldpost::test {

/// One change of a file, or one flush.
struct Change {
  std::string what;  ///< "write", "append", "rename", "move", "remove", "folder", "permissions", "flush"
  std::filesystem::path path;                  ///< of a rename, the old name
  std::filesystem::path to;                    ///< of a rename, the new name
  std::vector<std::filesystem::path> flushed;  ///< folders
};

using Trace = std::vector<Change>;

/// Passes every operation to another file system and records the changes that succeeded. Consecutive runs may
/// share a trace, because changes that a killed program did not flush are not durable for the next run
/// either.
class TracedFileSystem final : public FileSystem {
 public:
  TracedFileSystem(FileSystem& under, Trace& trace) : under_(under), trace_(trace) {}

  /// Called before each change. When it throws, the change is neither made nor recorded.
  std::function<void(const Change&)> before = [](const Change&) {};

  [[nodiscard]] bool IsFile(const std::filesystem::path& path) const override { return under_.IsFile(path); }
  [[nodiscard]] bool IsFolder(const std::filesystem::path& path) const override {
    return under_.IsFolder(path);
  }
  [[nodiscard]] bool Exists(const std::filesystem::path& path) const override { return under_.Exists(path); }
  [[nodiscard]] FileStamp Stamp(const std::filesystem::path& path) const override {
    return under_.Stamp(path);
  }
  [[nodiscard]] std::optional<FileStamp> RegularFileStamp(const std::filesystem::path& path) const override {
    return under_.RegularFileStamp(path);
  }
  [[nodiscard]] std::vector<std::string> ListFiles(const std::filesystem::path& folder,
                                                   std::string_view ending) const override {
    return under_.ListFiles(folder, ending);
  }
  [[nodiscard]] std::unique_ptr<FolderHandle> OpenFolder(const std::filesystem::path& path) const override {
    return under_.OpenFolder(path);
  }
  [[nodiscard]] std::string ReadOwn(const std::filesystem::path& path,
                                    std::uint64_t maxBytes) const override {
    return under_.ReadOwn(path, maxBytes);
  }
  [[nodiscard]] std::string ReadWhole(const std::filesystem::path& path,
                                      std::uint64_t maxBytes) const override {
    return under_.ReadWhole(path, maxBytes);
  }
  [[nodiscard]] std::optional<FileContent> ReadFinished(const std::filesystem::path& path,
                                                        std::uint64_t maxBytes) const override {
    return under_.ReadFinished(path, maxBytes);
  }
  [[nodiscard]] std::unique_ptr<FileReader> OpenForReading(const std::filesystem::path& path) const override {
    return under_.OpenForReading(path);
  }
  [[nodiscard]] bool MayRemoveFrom(const std::filesystem::path& folder) const override {
    return under_.MayRemoveFrom(folder);
  }
  [[nodiscard]] std::unique_ptr<FolderLock> TryLock(const std::filesystem::path& folder) override {
    return under_.TryLock(folder);
  }
  void WriteNew(const std::filesystem::path& path, std::string_view bytes, FileAccess access) override {
    Do({"write", path, {}, {}}, [&] { under_.WriteNew(path, bytes, access); });
  }
  void Append(const std::filesystem::path& path, std::string_view bytes) override {
    Do({"append", path, {}, {}}, [&] { under_.Append(path, bytes); });
  }
  void Rename(const std::filesystem::path& from, const std::filesystem::path& to) override {
    Do({"rename", from, to, {}}, [&] { under_.Rename(from, to); });
  }
  void Move(const std::filesystem::path& from, const std::filesystem::path& to) override {
    Do({"move", from, to, {}}, [&] { under_.Move(from, to); });
  }
  /// Recorded only when the file exists.
  void Remove(const std::filesystem::path& path) override {
    if (!under_.Exists(path)) return under_.Remove(path);
    Do({"remove", path, {}, {}}, [&] { under_.Remove(path); });
  }
  void CreateFolder(const std::filesystem::path& path, FileAccess access) override {
    Do({"folder", path, {}, {}}, [&] { under_.CreateFolder(path, access); });
  }
  void Flush(std::span<const std::filesystem::path> folders) override {
    Do({"flush", {}, {}, {folders.begin(), folders.end()}}, [&] { under_.Flush(folders); });
  }

 protected:
  void CopyPermissions(const std::filesystem::path& model, const std::filesystem::path& path) override {
    Do({"permissions", path, {}, {}},
       [&] { std::filesystem::permissions(path, std::filesystem::status(model).permissions()); });
  }

 private:
  template <class Action>
  void Do(Change change, Action action) {
    before(change);
    action();
    trace_.push_back(std::move(change));
  }

  FileSystem& under_;
  Trace& trace_;
};

/// Selects pairs of changes of which the first must be durable before the second is made.
struct FlushRule {
  const char* name;
  std::function<bool(const Change& first, const Change& then)> needs;
};

/// Whether a flush covers the folder in which a file was written, removed or renamed.
inline bool Reaches(const Change& flush, const Change& change) {
  const std::filesystem::path& place = change.to.empty() ? change.path : change.to;
  const std::string folder = Utf8FromPath(place.parent_path().lexically_normal() / "");
  return std::any_of(flush.flushed.begin(), flush.flushed.end(), [&](const std::filesystem::path& flushed) {
    return folder.starts_with(Utf8FromPath(flushed.lexically_normal() / ""));
  });
}

/// Expects a flush between the two changes of each pair that a rule selects. Returns the number of pairs.
inline std::size_t ExpectFlushed(const Trace& trace, const FlushRule& rule, const std::string& when) {
  std::size_t pairs = 0;
  for (auto then = trace.begin(); then != trace.end(); ++then) {
    for (auto first = trace.begin(); first != then; ++first) {
      if (!rule.needs(*first, *then)) continue;
      ++pairs;
      const bool durable = std::any_of(first, then, [&](const Change& change) {
        return change.what == "flush" && Reaches(change, *first);
      });
      EXPECT_TRUE(durable) << fmt::format("{}: {} {}: not flushed before {} {} ({})", rule.name, first->what,
                                          first->path.string(), then->what, then->path.string(), when);
    }
  }
  return pairs;
}

}  // namespace fieldpost::test
