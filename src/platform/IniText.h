// The text of an INI file: values read, lines changed, every other byte as it was.
#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fieldpost {

/// Lines end in CR LF, LF or CR. A section begins at a line "[name]"; a line "key=value" belongs to the
/// section above it; what begins with ";" is a comment, and any other line is nothing at all. Names compare
/// without regard to the case of ASCII letters, blanks round them do not count; of sections and keys of the
/// same name the first counts. Every operation takes time in proportion to the text.
class IniText {
 public:
  /// Any bytes; a UTF-8 byte order mark at their beginning is no part of the first line.
  explicit IniText(std::string bytes);

  IniText(const IniText&) = delete;
  IniText& operator=(const IniText&) = delete;

  /// The value of a key without the blanks and one pair of double quotes round it; nothing when it is
  /// missing.
  [[nodiscard]] std::optional<std::string> Value(std::string_view section, std::string_view key) const;

  /// Gives a key a value: only the value in its line changes. A key that is missing comes below the last key
  /// of its section, a section that is missing at the end of the text. Nothing changes when the value stands
  /// there already; an empty value stands where the key is missing. Section, key and value must be fit to be
  /// written.
  void SetValue(std::string_view section, std::string_view key, std::string_view value);

  /// The text as it is now.
  [[nodiscard]] std::string Bytes() const;

  /// Whether SetValue changed anything.
  [[nodiscard]] bool Changed() const { return changed_; }

  /// Whether a value can be written and read back whole: it has no line break and no NUL.
  static bool IsFitValue(std::string_view value);

  /// Whether a key can be written and found again.
  static bool IsFitKey(std::string_view key);

  /// Whether a section's name can be written and found again.
  static bool IsFitSection(std::string_view section);

 private:
  /// A line without its end, and its end.
  struct Line {
    std::string_view text;
    std::string_view end;
  };
  /// The lines of a section: from `begin` to before `end`.
  struct Range {
    std::size_t begin = 0;
    std::size_t end = 0;
  };

  [[nodiscard]] std::optional<Range> FindSection(std::string_view section) const;
  [[nodiscard]] std::optional<std::size_t> FindKey(const Range& range, std::string_view key) const;
  [[nodiscard]] std::size_t PlaceForNewKey(const Range& range) const;
  void Insert(std::size_t place, std::string text);
  std::string_view Keep(std::string text);

  std::string bytes_;
  std::deque<std::string> kept_;  ///< texts of lines that were changed
  std::string_view byteOrderMark_;
  std::vector<Line> lines_;
  bool changed_ = false;
};

}  // namespace fieldpost
