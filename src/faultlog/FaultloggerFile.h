// One file of a device's fault logger, loaded and checked.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "common/DateText.h"
#include "xml/XmlDocument.h"

namespace fieldpost {

/// The mode letter of an entry that the program has taken.
inline constexpr std::string_view ProcessMode = "P";

/// A loaded document and its record: the elements that the program reads and writes, found by name anywhere
/// in it.
class FaultloggerFile {
 public:
  /// Loads a file from its bytes. False when it is not well-formed, or would not be whole once it is filed;
  /// Reason() then tells why.
  bool Load(std::string_view bytes);

  [[nodiscard]] const std::string& Reason() const { return reason_; }

  /// Whether there is at least one `PRODCODE`, `FAULTLOG`, `FLFILE` and `MODEIND`. The other procedures may
  /// be asked of a complete file only.
  [[nodiscard]] bool IsComplete() const;

  /// The text of the first `PRODCODE`.
  [[nodiscard]] std::string ProductCode() const;

  /// Whether the file may be filed now: not while its last entry is "f" and dated today, unless it is the
  /// only one.
  [[nodiscard]] bool ReadyToFile(const LocalTime& today) const;

  /// Sets the text of every `MODEIND` to "P".
  void SetProcessMode();

  [[nodiscard]] std::size_t EntryCount() const { return entries_.size(); }

  /// The first `FLFILE` as text that can be read on its own. Built once; the file must not be changed after.
  [[nodiscard]] const std::string& ContainerXml();

  /// The whole file as text, in the encoding that it came in.
  [[nodiscard]] std::string Xml();

 private:
  friend class ArchivedFile;

  [[nodiscard]] bool ModesHoldOthers() const;

  XmlDocument document_;
  std::string reason_;
  std::vector<XmlElement> containers_;    // FLFILE
  std::vector<XmlElement> entries_;       // FAULTLOG
  std::vector<XmlElement> productCodes_;  // PRODCODE
  std::vector<XmlElement> modes_;         // MODEIND
  std::vector<XmlElement> dates_;         // CONDATE
  std::string containerXml_;
};

/// An archived file that takes in the entries of later files of the same name.
class ArchivedFile {
 public:
  /// Loads it from its bytes. False when it is not well-formed or has no `FLFILE`; Reason() then tells why.
  bool Load(std::string_view bytes);

  [[nodiscard]] const std::string& Reason() const { return reason_; }

  /// Appends the entries of a file to the first `FLFILE`, their running numbers counted on from the entries
  /// that are there. The numbers are changed in `file` too. True when all were appended.
  bool MergeIntoArchived(FaultloggerFile& file);

  /// The whole file as text, in the encoding that it came in.
  [[nodiscard]] std::string Xml() const { return document_.Xml(); }

 private:
  XmlDocument document_;
  std::vector<XmlElement> containers_;
  std::size_t entryCount_ = 0;
  std::string reason_;
};

}  // namespace fieldpost
