#include "archive/ArchiveDeletion.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

#include "common/PathText.h"

namespace fieldpost {
namespace fs = std::filesystem;
namespace {

/// Splits a path into the names below a folder. Returns nothing when the path is not below it.
std::optional<std::vector<std::string>> NamesBelow(const fs::path& folder, const fs::path& path) {
  auto step = path.begin();
  for (const fs::path& part : folder) {
    if (part.empty()) continue;  // after a separator at the end
    if (step == path.end() || *step != part) return std::nullopt;
    ++step;
  }
  std::vector<std::string> names;
  for (; step != path.end(); ++step) {
    if (*step == ".." || *step == "." || step->empty()) return std::nullopt;
    names.push_back(Utf8FromPath(*step));
  }
  if (names.empty()) return std::nullopt;
  return names;
}

void Note(DeletionResult& result, std::string_view problem) {
  if (result.failed++ == 0) result.firstFailure = problem;
}

void DeleteIn(FolderHandle& folder, const std::string& name, DeletionResult& result) {
  try {
    if (folder.Remove(name)) ++result.deleted;
  } catch (const FileError& error) {
    Note(result, error.what());
  }
}

bool ShowDone(StatusDisplay& display, std::size_t position) {
  display.SetPosition(position);
  display.ProcessEvents();
  return !display.IsCancelled();
}

}  // namespace

ArchiveDeletion::ArchiveDeletion(const FileSystem& files, fs::path archive)
    : files_(files), archive_(std::move(archive)) {}

ProductCodeList ArchiveDeletion::ProductCodes() const {
  return ListProductCodes(files_, archive_);
}

DeletionResult ArchiveDeletion::DeleteAll(StatusDisplay& display) {
  DeletionResult result;
  try {
    const std::unique_ptr<FolderHandle> archive = files_.OpenFolder(archive_);
    const std::vector<std::string> productCodes = archive->ListFolders();
    display.SetRange(productCodes.size());
    for (std::size_t i = 0; i < productCodes.size(); ++i) {
      DeleteProductCode(*archive, productCodes[i], result, display);
      if (!ShowDone(display, i)) break;
    }
  } catch (const FileError& error) {
    Note(result, error.what());
  }
  return result;
}

void ArchiveDeletion::DeleteProductCode(const FolderHandle& archive, const std::string& productCode,
                                        DeletionResult& result, StatusDisplay& display) {
  try {
    const std::unique_ptr<FolderHandle> folder = archive.OpenFolder(productCode);
    for (const std::string& name : folder->ListAllButFolders()) {
      DeleteIn(*folder, name, result);
      display.ProcessEvents();
      if (display.IsCancelled()) return;
    }
  } catch (const FileError& error) {
    Note(result, error.what());
  }
}

DeletionResult ArchiveDeletion::DeleteProcess(const std::string& productCode, StatusDisplay& display) {
  DeletionResult result;
  const ProductCodeList codes = ProductCodes();
  if (codes.state == ProductCodeList::State::Unreadable) Note(result, codes.problem);
  if (std::find(codes.names.begin(), codes.names.end(), productCode) == codes.names.end()) return result;
  try {
    const std::unique_ptr<FolderHandle> folder = files_.OpenFolder(archive_)->OpenFolder(productCode);
    const std::vector<std::string> names = folder->ListFiles("");
    display.SetRange(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
      DeleteIfProcess(*folder, names[i], result, display);
      if (!ShowDone(display, i)) break;
    }
  } catch (const FileError& error) {
    Note(result, error.what());
  }
  return result;
}

/// An unreadable file is kept, and counted.
void ArchiveDeletion::DeleteIfProcess(FolderHandle& folder, const std::string& name, DeletionResult& result,
                                      StatusDisplay& display) {
  try {
    if (!IsProcessMode(reader_.Read(*folder.OpenRegularFile(name), display))) return;
  } catch (const FileError& error) {
    if (!error.IsMissing()) Note(result, error.what());
    return;
  }
  if (!display.IsCancelled()) DeleteIn(folder, name, result);
}

DeletionResult ArchiveDeletion::DeleteSelected(const PathList& paths, StatusDisplay& display) {
  DeletionResult result;
  display.SetRange(paths.size());
  for (std::size_t i = 0; i < paths.size(); ++i) {
    DeleteOne(paths[i], result);
    if (!ShowDone(display, i)) break;
  }
  return result;
}

void ArchiveDeletion::DeleteOne(const fs::path& path, DeletionResult& result) {
  try {
    const std::optional<std::vector<std::string>> names = NamesBelow(archive_, path);
    if (!names) throw FileError("cannot delete", path, "it is not in the Archive folder");
    std::unique_ptr<FolderHandle> folder = files_.OpenFolder(archive_);
    for (auto name = names->begin(); name + 1 != names->end(); ++name) folder = folder->OpenFolder(*name);
    DeleteIn(*folder, names->back(), result);
  } catch (const FileError& error) {
    if (!error.IsMissing()) Note(result, error.what());
  }
}

void ArchiveDeletion::RemoveEmptyProductFolders(StatusDisplay& display) {
  for (const std::string& productCode : ProductCodes().names) {
    try {
      const std::unique_ptr<FolderHandle> archive = files_.OpenFolder(archive_);
      if (archive->OpenFolder(productCode)->IsEmpty()) archive->RemoveEmptyFolder(productCode);
    } catch (const FileError&) {
      // A folder that cannot be removed stays; it does no harm.
    }
    display.ProcessEvents();
  }
}

}  // namespace fieldpost
