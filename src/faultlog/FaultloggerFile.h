// One file of a device's fault logger.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "common/DateText.h"
#include "xml/XmlDocument.h"

namespace fieldpost {

/// The element that holds a file's entries.
inline constexpr std::string_view ContainerName = "FLFILE";

/// The element of one entry.
inline constexpr std::string_view EntryName = "FAULTLOG";

/// The mode letter of an entry that was filed.
inline constexpr std::string_view ProcessMode = "P";

/// A file as its device left it, loaded into memory. The elements that the program reads and writes are found
/// by name, anywhere in the document.
class FaultloggerFile {
 public:
  /// Loads the file from its bytes. Returns false when it is not well-formed, or when filing it would lose a
  /// part of it; Reason() then says why.
  [[nodiscard]] bool Load(std::string_view bytes);

  /// Why Load returned false; one line.
  [[nodiscard]] const std::string& Reason() const { return reason_; }

  /// Whether the file has at least one `PRODCODE`, `FAULTLOG`, `FLFILE` and `MODEIND`. Only a complete file
  /// may be filed.
  [[nodiscard]] bool IsComplete() const;

  /// The text of the first `PRODCODE`, of which there must be one.
  [[nodiscard]] std::string ProductCode() const;

  /// Whether the file may be filed now. False while its last entry, which must not be its only one, has the
  /// mode "f" (any case) and the date `today`: the connection is still running.
  [[nodiscard]] bool ReadyToFile(const LocalTime& today) const;

  /// Sets the text of every `MODEIND` to "P".
  void SetProcessMode();

  [[nodiscard]] std::size_t EntryCount() const { return entries_.size(); }

  /// The first `FLFILE`, of which there must be one, as UTF-8 text that loads on its own. Built once and
  /// kept; only MergeIntoArchived may change the file afterwards.
  [[nodiscard]] const std::string& ContainerXml();

  /// The whole file as text, in the encoding that it was read in.
  [[nodiscard]] std::string Xml();

 private:
  friend class ArchivedFile;  // renumbers the entries

  [[nodiscard]] bool HasRecordInsideMode() const;

  XmlDocument document_;
  std::string reason_;
  std::vector<XmlElement> containers_;    // FLFILE
  std::vector<XmlElement> entries_;       // FAULTLOG
  std::vector<XmlElement> productCodes_;  // PRODCODE
  std::vector<XmlElement> modes_;         // MODEIND
  std::vector<XmlElement> dates_;         // CONDATE
  std::string containerXml_;
};

}  // namespace fieldpost
