// Divides the PPC export into documents and packs them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "common/RunLists.h"
#include "common/StatusDisplay.h"
#include "common/UserPrompt.h"
#include "environment/RunContext.h"
#include "ppc/ModAttachment.h"

namespace fieldpost {

/// What came of collecting PPC data.
struct PpcCollection {
  bool succeeded = false;              ///< false after a failure or when the user cancelled
  std::vector<PendingFile> documents;  ///< empty when the export has no entries
};

/// What came of packing PPC documents.
struct PpcZip {
  bool packed = false;
  std::filesystem::path file;  ///< the zip, also when it could not be written
  std::int32_t zipResult = 0;  ///< the zip library's result code; 0 is success
};

/// Collects the PPC data: from the database to documents in the PPCTemp folder, and to their zip.
class PPCAttachments {
 public:
  /// Everything that the arguments refer to must outlive the object.
  PPCAttachments(const RunContext& run, ModAttachment& database, UserPrompt& prompt);

  /// Exports the database and divides the export into documents. Reports failures in message boxes and in the
  /// log, and counts the entries on `display`. An export without entries is not a failure. A failure before
  /// the documents are published leaves no new document. The export is deleted once its documents are
  /// durable, and kept when it is malformed. When the user cancels, the result is that of a failure, but
  /// nothing is reported.
  [[nodiscard]] PpcCollection MakePPCFiles(StatusDisplay& display);

  /// As MakePPCFiles, for an unattended run: reports only in the log; `display` only processes events.
  [[nodiscard]] PpcCollection MakePPCFilesQuiet(StatusDisplay& display);

  /// Returns the first two lines of the export when they are an XML declaration and a comment that names the
  /// library that wrote it, and the plain declaration otherwise. In the encoding of the export. Throws
  /// FileError.
  [[nodiscard]] std::string ReadPPCHeader() const;

  /// Packs files into the zip of this hour in the PPCTemp folder, which replaces an older one. Each line of
  /// `files` is a full path or the name of a file in the PPCTemp folder; its last part may be a pattern such
  /// as "*.xml". A failure is shown and logged with the zip library's description, unless the user cancelled.
  [[nodiscard]] PpcZip ZipPPCDocuments(std::string_view files, StatusDisplay& display);

  /// Shows the percentage of a packing on the bar.
  static void XceedZip1_GlobalStatus(int percent, StatusDisplay& display);

 private:
  enum class Audience { Screen, LogAlone };

  [[nodiscard]] PpcCollection MakeFiles(Audience audience, StatusDisplay& display);
  [[nodiscard]] PathList Extract(Audience audience, StatusDisplay& display);
  [[nodiscard]] PathList FilesToProcess(std::string_view lines) const;
  void AddFilesOf(const std::filesystem::path& given, PathList& found) const;
  void ReportMissing(Audience audience);
  void ReportEmpty(Audience audience);
  void ReportFault(Audience audience, std::string_view description);
  [[nodiscard]] std::filesystem::path Folder() const;
  [[nodiscard]] std::string Stem() const;

  RunContext run_;
  ModAttachment& database_;
  UserPrompt& prompt_;
};

}  // namespace fieldpost
