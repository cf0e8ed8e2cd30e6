// How many mails a list of files needs, and packing it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "common/RunFlags.h"
#include "common/RunLists.h"
#include "common/StatusDisplay.h"
#include "environment/InstallPaths.h"
#include "environment/MailSettings.h"
#include "environment/ModWriteLogFile.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// Batching, zipping and clearing up of the files to be mailed.
class AttachmentPackaging {
 public:
  AttachmentPackaging(FileSystem& files, const Clock& clock, const InstallPaths& paths,
                      const MailSettings& settings, const RunFlags& flags, RunLists& lists,
                      ModWriteLogFile& log, StatusDisplay& display);

  /// The number of mails that the attachment list needs.
  [[nodiscard]] int CountMails() const;

  /// How many of the attachments go into each of these mails, at the most.
  [[nodiscard]] std::size_t AttachmentsPerMail() const;

  /// Packs the files of a list into one zip, moves the list's entries to the packed-files list and leaves the
  /// zip as its only entry. Files that are missing are left out. False when nothing was packed; Problem() and
  /// the log say why. The bar of the display shows the percentage.
  bool ZipAttachments(PathList& list);

  /// The zip component's result of the last packing; 0 is success.
  [[nodiscard]] std::int32_t LastZipResult() const { return lastZipResult_; }

  /// Why the last packing failed, in one line; empty when it did not, when there was nothing to pack, and
  /// when the person at the screen wanted the end.
  [[nodiscard]] const std::string& Problem() const { return problem_; }

  /// Deletes every file of the PPCTemp folder. False when one is still there; the log then has why.
  bool ClearPPCTemp();

  /// The same of every "*.zip" file of the process folder.
  bool DeleteZipFiles();

 private:
  [[nodiscard]] std::size_t ConfiguredPerMail() const;
  [[nodiscard]] std::filesystem::path ZipFolder() const;
  bool Fail(std::string_view problem);
  bool DeleteFiles(const std::filesystem::path& folder, std::string_view ending);

  FileSystem& files_;
  const Clock& clock_;
  const InstallPaths& paths_;
  const MailSettings& settings_;
  const RunFlags& flags_;
  RunLists& lists_;
  ModWriteLogFile& log_;
  StatusDisplay& display_;
  std::int32_t lastZipResult_ = 0;
  std::string problem_;
};

}  // namespace fieldpost
