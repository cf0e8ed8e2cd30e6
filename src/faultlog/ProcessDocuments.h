// The combined documents of a process folder: their names, and those that a later document supersedes.
#pragma once

#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

#include "common/RunLists.h"
#include "environment/RunContext.h"
#include "faultlog/FilingJournal.h"

namespace fieldpost {

/// Returns the number of the next document in `folder` whose name begins with `stem` (site and hour): one
/// more than the highest number up to 98, so that the hour's first is 1 and 99 stays 99. Throws FileError
/// when the folder cannot be listed.
[[nodiscard]] int NextProcessSequence(const FileSystem& files, std::string_view stem,
                                      const std::filesystem::path& folder);

/// Returns the full path of the next document in `folder`, named after the current hour. A document may bear
/// number 99 already. Throws FileError when the folder cannot be listed.
[[nodiscard]] std::filesystem::path NextDocumentPath(const RunContext& run,
                                                     const std::filesystem::path& folder);

/// Finds a free name under which the file `document` is set aside when a new document takes its name. Returns
/// nothing when there is no such file, or when it does not wait to be mailed: then it may be replaced. Throws
/// FileError when it cannot be read.
[[nodiscard]] std::optional<FilingJournal::Superseded> SupersededBy(const FileSystem& files,
                                                                    const std::filesystem::path& document);

/// Renames the documents that were set aside in `folder` to names of the current hour, below number 99, as
/// long as the hour has any left. Returns the renamed documents; they wait to be mailed. Throws FileError.
[[nodiscard]] std::vector<PendingFile> RestoreSupersededDocuments(const RunContext& run,
                                                                  const std::filesystem::path& folder);

}  // namespace fieldpost
