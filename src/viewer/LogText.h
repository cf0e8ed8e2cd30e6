// A log's text, cut into rows for a view.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace fieldpost {

/// One row as it is shown.
struct LogRow {
  std::u16string text;  ///< control characters and broken UTF-8 replaced by visible signs
  std::vector<std::uint32_t>
      offsets;  ///< for each unit of `text`, and for its end: bytes from the row's start

  /// Where in `text` the byte at this distance from the row's start is shown.
  [[nodiscard]] std::size_t UnitAt(std::size_t byteInRow) const;
};

/// The bytes of a log and where its rows begin. CR LF, LF and CR end a line. A line of more than MaxRowBytes
/// goes on in further rows, so that no row takes long to draw. A text that ends in a line end has an empty
/// row after it. Positions are byte offsets; there is always at least one row.
class LogText {
 public:
  static constexpr std::size_t MaxRowBytes = 4096;

  /// `bytes`: UTF-8, at most MaxShownLogBytes.
  explicit LogText(std::string bytes = {});

  [[nodiscard]] std::string_view Bytes() const { return bytes_; }
  [[nodiscard]] std::size_t Rows() const { return starts_.size(); }
  [[nodiscard]] std::size_t RowStart(std::size_t row) const { return starts_[row]; }

  /// Where the row's text ends and its line end begins.
  [[nodiscard]] std::size_t RowEnd(std::size_t row) const;

  /// The row that a position is in.
  [[nodiscard]] std::size_t RowAt(std::size_t position) const;

  /// The row as it is shown.
  [[nodiscard]] LogRow Row(std::size_t row) const;

  /// The row with the most bytes.
  [[nodiscard]] std::size_t LongestRow() const;

 private:
  void AddLine(std::size_t begin, std::size_t end);

  std::string bytes_;
  std::vector<std::uint32_t> starts_;
};

}  // namespace fieldpost
