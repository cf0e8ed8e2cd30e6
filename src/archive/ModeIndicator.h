// The mode indicator of a faultlogger file, and the word for it.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/StatusDisplay.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// What is shown for a file without a mode indicator.
inline constexpr std::string_view NoModeIndicator = "Mode indicator not found!";

/// Returns the word for a mode indicator, a letter in either case; empty for any other text. The word lives
/// as long as the program.
std::string_view ModeWord(const std::optional<std::string>& indicator);

/// Whether a mode indicator says that the file was taken into processing.
bool IsProcessMode(const std::optional<std::string>& indicator);

/// Reads mode indicators, one file after the other. A file is read to its end, in memory that does not grow
/// with it. One that exceeds a limit of XmlStreamReader counts as not well-formed; up to MaxShownAttributes
/// are accepted.
class ModeIndicatorReader {
 public:
  ModeIndicatorReader();

  /// Returns the text of the first element MODEIND and of those within it, without white space at both ends;
  /// one of more than a thousand bytes is cut. Nothing when there is no such element, when the file is not
  /// well-formed, or when `display` reports a cancellation. `display` processes events after each piece of 64
  /// KB. Throws FileError when the file cannot be read.
  [[nodiscard]] std::optional<std::string> Read(FileReader& file, StatusDisplay& display);

 private:
  std::vector<char> piece_;
};

}  // namespace fieldpost
