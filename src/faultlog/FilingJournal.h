// The steps that publish a batch of filed files, as a file that outlives the program.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/ContentHash.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// The steps that publish one batch, in this order. The batch is committed once this journal and the staged
/// files are durable on disk. From then on, a run that finds the journal completes the missing steps; every
/// step can be repeated.
struct FilingJournal {
  /// A document whose name the batch's own document takes, and the name under which it is set aside. The new
  /// name is free when the batch is committed; the step is done once a file has it.
  struct Superseded {
    std::filesystem::path from;
    std::filesystem::path to;

    bool operator==(const Superseded&) const = default;
  };
  /// A file written under a temporary name, the name that it is published under, and the hash of its bytes.
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

  std::optional<Superseded> superseded;
  std::vector<Staged> staged;
  std::vector<Source> sources;
  std::filesystem::path document;  ///< the target of the combined document, one of the staged files

  bool operator==(const FilingJournal&) const = default;

  /// The journal as bytes that end in their own checksum.
  [[nodiscard]] std::string ToBytes() const;

  /// Reads what ToBytes wrote. Returns nothing when the bytes are not a whole journal: its batch was never
  /// committed.
  [[nodiscard]] static std::optional<FilingJournal> FromBytes(std::string_view bytes);
};

}  // namespace fieldpost
