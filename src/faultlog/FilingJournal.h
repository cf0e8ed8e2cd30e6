// What a batch of filed files still has to do, as a file that outlives the program.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/ContentHash.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// The steps that publish one batch, in this order. Once this and the staged files are durable on disk the
/// batch is decided: every step that is not done yet is done by whoever finds it, and doing one twice does no
/// harm.
struct FilingJournal {
  /// A document that makes room for another one, and the name that it keeps meanwhile. The new name is free
  /// when the batch is decided; once it is taken, the step is done.
  struct Displaced {
    std::filesystem::path from;
    std::filesystem::path to;

    bool operator==(const Displaced&) const = default;
  };
  /// A file written beside its place, its place, and what is in it.
  struct Staged {
    std::filesystem::path temporary;
    std::filesystem::path target;
    ContentHash content;

    bool operator==(const Staged&) const = default;
  };
  /// A file of a Latest folder whose entries are in the staged files.
  struct Source {
    std::filesystem::path path;
    ContentHash content;
    std::optional<FileStamp> stamp = std::nullopt;  ///< known to the run that read the file; never written

    bool operator==(const Source&) const = default;
  };

  std::optional<Displaced> displaced;
  std::vector<Staged> staged;
  std::vector<Source> sources;
  std::filesystem::path document;  ///< the combined document among the staged files

  bool operator==(const FilingJournal&) const = default;

  /// The journal as bytes that end in their own check sum.
  [[nodiscard]] std::string ToBytes() const;

  /// Nothing when the bytes are not a whole journal: then its batch was never decided.
  static std::optional<FilingJournal> FromBytes(std::string_view bytes);
};

}  // namespace fieldpost
