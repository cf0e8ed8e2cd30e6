// The text of an INI file, of which single values can be read and changed.
#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fieldpost {

/// Lines end in CR LF, LF or CR. A section begins at a line "[name]"; a line "key=value" belongs to the
/// section above it; a line that begins with ";" is a comment, and any other line is ignored. Names are
/// compared ignoring the case of ASCII letters and blanks around them. Of several sections or keys of one
/// name, the first counts. Each operation takes time proportional to the length of the text.
class IniText {
 public:
  /// Parses any bytes. A UTF-8 byte order mark at the beginning is not part of the first line.
  explicit IniText(std::string bytes);

  IniText(const IniText&) = delete;
  IniText& operator=(const IniText&) = delete;

  /// Returns the value of a key without the blanks and one pair of double quotes around it; empty when the
  /// key is missing.
  [[nodiscard]] std::optional<std::string> Value(std::string_view section, std::string_view key) const;

  /// Sets the value of a key; only the value in its line changes. A missing key is added after the last key
  /// of its section, a missing section at the end of the text. Nothing changes when the key has the value
  /// already; a missing key has an empty value. Section, key and value must be valid (see IsValidSection,
  /// IsValidKey, IsValidValue).
  void SetValue(std::string_view section, std::string_view key, std::string_view value);

  /// Returns the current text.
  [[nodiscard]] std::string Bytes() const;

  /// Whether SetValue changed anything.
  [[nodiscard]] bool Changed() const { return changed_; }

  /// Whether a value can be written and read back: it has no line break and no NUL.
  static bool IsValidValue(std::string_view value);

  /// Whether a key can be written and found again: it is not empty, has no blanks at its ends, no "=", and
  /// does not begin like a comment or a section.
  static bool IsValidKey(std::string_view key);

  /// Whether the name of a section can be written and found again: it is not empty and has no blanks at its
  /// ends and no "]".
  static bool IsValidSection(std::string_view section);

 private:
  /// A line: its text, and its line end.
  struct Line {
    std::string_view text;
    std::string_view end;
  };
  /// The lines of a section, from `begin` up to but not including `end`.
  struct Range {
    std::size_t begin = 0;
    std::size_t end = 0;
  };

  [[nodiscard]] std::optional<Range> FindSection(std::string_view section) const;
  [[nodiscard]] std::optional<std::size_t> FindKey(const Range& range, std::string_view key) const;
  [[nodiscard]] std::size_t LineForNewKey(const Range& range) const;
  void Insert(std::size_t line, std::string text);
  std::string_view Keep(std::string text);

  std::string bytes_;
  std::deque<std::string> kept_;  ///< the texts of changed lines, to which `lines_` refers
  std::string_view byteOrderMark_;
  std::vector<Line> lines_;
  bool changed_ = false;
};

}  // namespace fieldpost
