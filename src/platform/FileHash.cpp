#include "platform/FileHash.h"

#include <array>
#include <memory>

namespace fieldpost {

ContentHash HashFile(const FileSystem& files, const std::filesystem::path& path, StatusDisplay& display) {
  const std::unique_ptr<FileReader> reader = files.OpenForReading(path);
  ContentHasher hasher;
  std::array<char, 65536> buffer{};
  while (const std::size_t got = reader->Read(buffer)) {
    hasher.Add({buffer.data(), got});
    display.ProcessEvents();
  }
  return hasher.Hash();
}

}  // namespace fieldpost
