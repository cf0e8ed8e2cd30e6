// The mode indicator of a faultlogger file, and the word for it.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/StatusDisplay.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// What is shown for a file that has no mode indicator.
inline constexpr std::string_view NoModeIndicator = "Mode indicator not found!";

/// The word for a mode indicator, its letter in either case. Empty for a text that has no word. The text
/// lives as long as the program.
std::string_view ModeWord(const std::optional<std::string>& indicator);

/// Whether a mode indicator is that of a file taken into processing.
bool IsProcessMode(const std::optional<std::string>& indicator);

/// Reads mode indicators, one file after the other. A file is read to its end in pieces, so that its size
/// takes no memory; entities are resolved up to 16 MB, and nothing outside the file is ever opened. A file
/// with a single section, comment or tag of more than 10 MB, more than 10,000 attributes in one element or
/// more than 20,000 different names is refused as if it were not well-formed.
class ModeIndicatorReader {
 public:
  ModeIndicatorReader();

  /// The text of the first element MODEIND with that of the elements in it, white space at both ends off; one
  /// of more than a thousand bytes is cut. Nothing when there is no such element, or the file is not
  /// well-formed. `display` lets events run after each piece; when it asks for the end, the result is nothing
  /// and says nothing. Throws FileError when the file cannot be read.
  [[nodiscard]] std::optional<std::string> Read(FileReader& file, StatusDisplay& display);

 private:
  std::vector<char> piece_;
};

}  // namespace fieldpost
