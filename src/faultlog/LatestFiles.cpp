#include "faultlog/LatestFiles.h"

#include <cstddef>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace fieldpost {
namespace {

/// From this many files of one name on, they are grouped; fewer stay in folder order.
constexpr std::size_t ManyOfOneName = 8;

std::vector<LatestFile> WithSameNamesTogether(std::vector<LatestFile> files) {
  std::unordered_map<std::string_view, std::vector<std::size_t>> places;
  for (std::size_t i = 0; i < files.size(); ++i) places[files[i].name].push_back(i);
  std::vector<std::size_t> order;
  for (std::size_t i = 0; i < files.size(); ++i) {
    const std::vector<std::size_t>& sameName = places[files[i].name];
    if (sameName.size() < ManyOfOneName) {
      order.push_back(i);
    } else if (sameName.front() == i) {
      order.insert(order.end(), sameName.begin(), sameName.end());
    }
  }
  std::vector<LatestFile> result;
  result.reserve(files.size());
  for (const std::size_t i : order) result.push_back(std::move(files[i]));
  return result;
}

}  // namespace

LatestFiles CollectLatestFiles(const FileSystem& files, const PathList& latestFolders) {
  LatestFiles latest;
  for (const std::filesystem::path& path : latestFolders) {
    if (!files.IsFolder(path)) continue;
    const auto folder = static_cast<std::uint32_t>(latest.folders.size());
    latest.folders.push_back({.path = path, .canRemoveFrom = files.MayRemoveFrom(path)});
    try {
      for (std::string& name : files.ListFiles(path, ".xml")) {
        latest.files.push_back({.folder = folder, .name = std::move(name)});
      }
    } catch (const FileError& error) {
      latest.problems.emplace_back(error.what());
    }
  }
  // Two files of one folder never have one name.
  if (latest.folders.size() >= ManyOfOneName) latest.files = WithSameNamesTogether(std::move(latest.files));
  return latest;
}

}  // namespace fieldpost
