// Cuts the PPC export into documents, and packs them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "common/RunLists.h"
#include "common/StatusDisplay.h"
#include "common/UserPrompt.h"
#include "environment/InstallPaths.h"
#include "environment/MailSettings.h"
#include "environment/ModWriteLogFile.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"
#include "ppc/ModAttachment.h"

namespace fieldpost {

/// The PPC collection: from the database to documents in the PPCTemp folder, and to their zip.
class PPCAttachments {
 public:
  PPCAttachments(FileSystem& files, const Clock& clock, const InstallPaths& paths,
                 const MailSettings& settings, RunLists& lists, ModAttachment& database, ModWriteLogFile& log,
                 UserPrompt& prompt);

  /// Has the database exported, cuts the export into documents and fills the attachment list with them, which
  /// holds nothing else then. For somebody at the screen: message boxes tell of failures (the log does too),
  /// `display` counts the entries. True when nothing went wrong; an export without entries gives no document
  /// and is nothing wrong. When a failure comes up there is no new document at all, but for one in giving
  /// them their names. The export is deleted once its documents are durable, and kept when it is faulty. When
  /// the person at the screen wants the end, it is as after a failure, but nothing is told of it.
  bool MakePPCFiles(StatusDisplay& display);

  /// The same for an unattended run, which has only the log; `display` just lets events run.
  bool MakePPCFilesQuiet(StatusDisplay& display);

  /// The export's first two lines, when they are an XML declaration and a comment that names the library that
  /// wrote it; else the plain declaration. In the export's own encoding. Throws FileError.
  [[nodiscard]] std::string ReadPPCHeader() const;

  /// Packs files into this hour's zip in the PPCTemp folder; one that lies there is replaced. Each line of
  /// `files` is a full path or, for the PPCTemp folder, a name; its last part may be a pattern such as
  /// "*.xml". True on success; else the zip library's description is shown and logged, unless the person at
  /// the screen wanted the end.
  bool ZipPPCDocuments(std::string_view files, StatusDisplay& display);

  /// The zip that the last packing wrote, or should have.
  [[nodiscard]] const std::filesystem::path& ZipFile() const { return zipFile_; }

  /// The zip library's result of the last packing; 0 is success.
  [[nodiscard]] std::int32_t LastZipResult() const { return lastZipResult_; }

  /// Shows how far a packing is, in percent.
  static void XceedZip1_GlobalStatus(int percent, StatusDisplay& display);

 private:
  enum class Audience { Screen, LogAlone };

  bool MakeFiles(Audience audience, StatusDisplay& display);
  [[nodiscard]] std::size_t Extract(Audience audience, StatusDisplay& display);
  [[nodiscard]] PathList FilesToProcess(std::string_view lines) const;
  void AddFilesOf(const std::filesystem::path& given, PathList& found) const;
  void TellMissing(Audience audience);
  void TellEmpty(Audience audience);
  void TellFault(Audience audience, std::string_view description);
  [[nodiscard]] std::filesystem::path Folder() const;
  [[nodiscard]] std::string Stem() const;

  FileSystem& files_;
  const Clock& clock_;
  const InstallPaths& paths_;
  const MailSettings& settings_;
  RunLists& lists_;
  ModAttachment& database_;
  ModWriteLogFile& log_;
  UserPrompt& prompt_;
  std::filesystem::path zipFile_;
  std::int32_t lastZipResult_ = 0;
};

}  // namespace fieldpost
