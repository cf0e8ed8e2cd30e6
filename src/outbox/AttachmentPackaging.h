// Divides a shipment into mails, packs it, and deletes its temporary files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "common/StatusDisplay.h"
#include "environment/RunContext.h"
#include "outbox/Shipment.h"

namespace fieldpost {

/// What came of packing a shipment.
struct PackingResult {
  bool packed = false;         ///< the attachments were replaced by their zip
  std::int32_t zipResult = 0;  ///< the zip library's result code; 0 is success
  std::string problem;  ///< one line on why packing failed, as logged; empty when it was cancelled by the
                        ///< user or there was nothing to pack
};

/// Counts mails, packs attachments and deletes scratch files.
class AttachmentPackaging {
 public:
  /// Everything that the arguments refer to must outlive the object.
  AttachmentPackaging(const RunContext& run, StatusDisplay& display);

  /// Returns how many mails are needed for this number of attachments; 1 for none.
  [[nodiscard]] int CountMails(std::size_t attachments) const;

  /// Returns how many of this number of attachments one mail has at most.
  [[nodiscard]] std::size_t AttachmentsPerMail(std::size_t attachments) const;

  /// Packs the attachments of a shipment into one zip, whose name contains the partner ID and the hour. The
  /// attachments move to the list of packed files, and the zip becomes the only attachment; on failure no
  /// attachment is left. Missing files are skipped. A failure is logged. The bar of the display shows the
  /// percentage.
  [[nodiscard]] PackingResult ZipAttachments(Shipment& shipment);

  /// Deletes every file of the PPCTemp folder. Returns false when a file could not be deleted, which is
  /// logged.
  [[nodiscard]] bool ClearPPCTemp();

  /// Deletes every "*.zip" file of the Process folder. Returns false when a file could not be deleted, which
  /// is logged.
  [[nodiscard]] bool DeleteZipFiles();

 private:
  [[nodiscard]] std::filesystem::path ZipFolder(DataKind kind) const;
  [[nodiscard]] PackingResult Fail(std::string_view problem, std::int32_t zipResult);
  [[nodiscard]] bool DeleteFiles(const std::filesystem::path& folder, std::string_view ending);

  RunContext run_;
  StatusDisplay& display_;
};

}  // namespace fieldpost
