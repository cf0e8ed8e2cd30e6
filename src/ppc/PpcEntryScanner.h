// Finds the entries of PPC data.
#pragma once

#include <filesystem>
#include <string_view>

#include "common/StatusDisplay.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// Receives what ScanPpcFile finds.
class PpcEntrySink {
 public:
  PpcEntrySink() = default;
  PpcEntrySink(const PpcEntrySink&) = delete;
  PpcEntrySink& operator=(const PpcEntrySink&) = delete;
  virtual ~PpcEntrySink() = default;

  /// Begins a `PPCentry`; its whole text follows in pieces.
  virtual void BeginEntry() = 0;

  /// Adds the next piece of the entry, in UTF-8, of whole characters.
  virtual void AddText(std::string_view utf8) = 0;

  /// Ends the entry: its text is complete.
  virtual void EndEntry() = 0;

  /// Called once for the first `ArchiveDate` element, with all of it, in UTF-8. It may lie within an open
  /// entry.
  virtual void FoundArchiveDate(std::string_view xml) = 0;
};

/// Reads an XML file once, from front to back, and passes the source text of its `PPCentry` elements to the
/// sink; namespaces declared above an entry are declared in it. An entry within another one is part of that
/// one. Memory does not grow with the file or an entry. Nothing outside the file is ever opened; only a file
/// of at most MaxExpandedPpcBytes may use entities of its own, which are then replaced. Processes events
/// through `display`.
///
/// Throws XmlError with the reason when the file is not well-formed or exceeds a limit, which may be noticed
/// only after entries were passed to the sink; FileError; exceptions of the sink; and Cancelled when the user
/// cancels.
void ScanPpcFile(const FileSystem& files, const std::filesystem::path& path, PpcEntrySink& sink,
                 StatusDisplay& display);

}  // namespace fieldpost
