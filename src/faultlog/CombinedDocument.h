// The text of a combined document.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "faultlog/BuildXML.h"

namespace fieldpost {

/// The elements of a combined document between their wrapper tags.
struct ClosedText {
  std::string text;                                        ///< UTF-8
  std::optional<std::size_t> elementCount = std::nullopt;  ///< how many elements a builder put between the
                                                           ///< tags; empty when no builder made the text
};

/// Gathers the elements of accepted files until their text is long enough for one document.
class CombinedDocument {
 public:
  /// Appends the element of a complete file. Returns the text when this file takes it beyond the limit, or,
  /// with `isLast` (any file is then ignored), when there is any text at all. The next file begins a new
  /// text.
  [[nodiscard]] std::optional<ClosedText> AppendToCombinedDocument(FaultloggerFile* file, bool isLast);

 private:
  std::optional<BuildXML> CombinedBuilder_;
};

/// A combined document as it is written, or why there is none.
struct DocumentText {
  std::string text;    ///< UTF-8
  std::string reason;  ///< the parser's reason why the text does not load, in one line; empty when it does
};

/// Makes a document of a closed text: removes the outer wrapper tags, gives several elements a common root,
/// and sets `Mode`="Not Sent" on the root. A text that no builder made need not have wrapper tags; it is
/// parsed first, to see whether it loads.
[[nodiscard]] DocumentText DocumentFromClosedText(ClosedText closed);

}  // namespace fieldpost
