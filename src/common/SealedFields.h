// Texts of any bytes behind each other, under a title, with a check sum: the form of the program's journals.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "common/ContentHash.h"

namespace fieldpost {

/// Puts fields behind each other. Names of files may hold any byte, so nothing but its length says where a
/// field ends: each is its length in decimal, ":", its bytes and a line feed.
class SealedFieldWriter {
 public:
  /// `title` is one line without its end; it tells one form of a file from another.
  explicit SealedFieldWriter(std::string_view title);

  void Add(std::string_view field);
  void AddPath(const std::filesystem::path& path);
  void AddNumber(std::size_t number);
  void AddHash(const ContentHash& hash);

  /// All that was added, and the hash of it.
  [[nodiscard]] std::string Finish() const;

 private:
  std::string bytes_;
};

/// Reads the fields one after the other; after the first that is not right, all are missing.
class SealedFieldReader {
 public:
  /// Nothing when the title is another one, or a single bit is not as it was written: the bytes are whole or
  /// they are nothing. `bytes` must outlive the reader.
  static std::optional<SealedFieldReader> Open(std::string_view title, std::string_view bytes);

  std::optional<std::string_view> Next();
  std::optional<std::filesystem::path> NextPath();
  std::optional<std::size_t> NextNumber();
  std::optional<ContentHash> NextHash();

  /// Whether every field was read, and each was right.
  [[nodiscard]] bool AtEnd() const { return right_ && rest_.empty(); }

 private:
  explicit SealedFieldReader(std::string_view fields) : rest_(fields) {}

  std::optional<std::string_view> Fail();

  std::string_view rest_;
  bool right_ = true;
};

}  // namespace fieldpost
