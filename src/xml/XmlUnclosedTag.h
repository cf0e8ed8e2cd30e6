// A start tag whose end was not read yet.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace fieldpost {

/// Follows a start tag that the parser holds back until it has read its end. The parser would then read all
/// attributes at once, in a time that grows with the square of their number.
class XmlUnclosedTag {
 public:
  /// Reads the part of the tag that is new. `at` is the tag's position in the document, `text` all of it that
  /// was read so far. Another position begins another tag.
  void Read(std::uint64_t at, std::string_view text);

  /// How many bytes of the tag were read.
  [[nodiscard]] std::size_t Bytes() const { return bytes_; }

  /// How many "=" it has outside quotes: as many as attributes.
  [[nodiscard]] std::size_t Attributes() const { return attributes_; }

 private:
  std::uint64_t at_ = 0;
  std::size_t bytes_ = 0;
  std::size_t attributes_ = 0;
  char quote_ = 0;
};

}  // namespace fieldpost
