// Finds the entries of PPC data.
#pragma once

#include <filesystem>
#include <string_view>

#include "common/StatusDisplay.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// Takes what ScanPpcFile finds.
class PpcEntrySink {
 public:
  PpcEntrySink() = default;
  PpcEntrySink(const PpcEntrySink&) = delete;
  PpcEntrySink& operator=(const PpcEntrySink&) = delete;
  virtual ~PpcEntrySink() = default;

  /// A `PPCentry` begins; its whole text follows in pieces.
  virtual void BeginEntry() = 0;

  /// The next piece of the entry: UTF-8, whole characters.
  virtual void AddText(std::string_view utf8) = 0;

  /// The entry is complete.
  virtual void EndEntry() = 0;

  /// The first `ArchiveDate` element, whole, in UTF-8. It may lie in an entry that has begun.
  virtual void FoundArchiveDate(std::string_view xml) = 0;
};

/// Reads an XML file once, from front to back, and hands over its `PPCentry` elements as they stand; name
/// spaces declared above an entry are declared in it. An entry within another one is a part of that one.
/// Memory stays flat, however large the file or an entry in it is. Nothing outside the file is ever opened;
/// only a file of at most MaxExpandedBytes may use entities of its own, which are then replaced by what they
/// stand for. Throws XmlError with the parser's reason when the file is not well-formed, which may be noticed
/// only after entries were handed over; FileError; what the sink throws; and Cancelled when the
/// person at the screen wants the end. Lets window events run.
void ScanPpcFile(const FileSystem& files, const std::filesystem::path& path, PpcEntrySink& sink,
                 StatusDisplay& display);

/// The largest file whose entities are replaced, in bytes: this takes the whole document in memory.
inline constexpr std::uint64_t MaxExpandedBytes = 1024 * 1024;

/// The longest `ArchiveDate` element, in bytes: every document holds it.
inline constexpr std::size_t MaxArchiveDateBytes = 65536;

}  // namespace fieldpost
