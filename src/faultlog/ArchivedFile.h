// An archived file that later files of the same name are merged into.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "faultlog/FaultloggerFile.h"
#include "xml/XmlDocument.h"

namespace fieldpost {

/// A file of the Archive, loaded to append the entries of new files to it.
class ArchivedFile {
 public:
  /// Loads the file from its bytes. Returns false when it is not well-formed or has no `FLFILE`; Reason()
  /// then says why.
  [[nodiscard]] bool Load(std::string_view bytes);

  /// Why Load returned false.
  [[nodiscard]] const std::string& Reason() const { return reason_; }

  /// Appends the entries of `file` to the first `FLFILE`. Their running numbers are counted on from the
  /// entries that the archived file holds already, in `file` too. Returns true when all were appended.
  bool MergeIntoArchived(FaultloggerFile& file);

  /// The whole file as text, in the encoding that it was read in.
  [[nodiscard]] std::string Xml() const { return document_.Xml(); }

 private:
  XmlDocument document_;
  std::vector<XmlElement> containers_;  // FLFILE
  std::size_t entryCount_ = 0;
  std::string reason_;
};

}  // namespace fieldpost
