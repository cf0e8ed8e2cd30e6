// A sequence of byte strings with a title and a checksum: the file format of the program's journals.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "common/ContentHash.h"

namespace fieldpost {

/// Writes the title, the fields and their checksum. Each field is written as its length in decimal, ":", its
/// bytes and a line feed: a filename may hold any byte, so that no separator could end a field.
class SealedFieldWriter {
 public:
  /// `title` is one line without its end. It identifies the kind of journal and its version.
  explicit SealedFieldWriter(std::string_view title);

  /// Adds a field of any bytes.
  void Add(std::string_view field);
  /// Adds a path as UTF-8 text.
  void AddPath(const std::filesystem::path& path);
  /// Adds a number in decimal digits.
  void AddNumber(std::size_t number);
  /// Adds a hash in hexadecimal digits.
  void AddHash(const ContentHash& hash);

  /// Returns the title and the fields added so far, with their checksum.
  [[nodiscard]] std::string Finish() const;

 private:
  std::string bytes_;
};

/// Reads the fields in their order. After the first malformed field, every further one is empty.
class SealedFieldReader {
 public:
  /// Opens what SealedFieldWriter wrote. Empty when the title differs or the checksum does not match. `bytes`
  /// must outlive the reader.
  static std::optional<SealedFieldReader> Open(std::string_view title, std::string_view bytes);

  /// Returns the next field; empty when there is none or it is malformed.
  std::optional<std::string_view> Next();
  /// Returns the next field as a path; empty when there is none or it is malformed.
  std::optional<std::filesystem::path> NextPath();
  /// Returns the next field as a number; empty when there is none or it is malformed.
  std::optional<std::size_t> NextNumber();
  /// Returns the next field as a hash; empty when there is none or it is malformed.
  std::optional<ContentHash> NextHash();

  /// Whether every field was read and none was malformed.
  [[nodiscard]] bool AtEnd() const { return wellFormed_ && rest_.empty(); }

 private:
  explicit SealedFieldReader(std::string_view fields) : rest_(fields) {}

  std::optional<std::string_view> Fail();

  std::string_view rest_;
  bool wellFormed_ = true;
};

}  // namespace fieldpost
