// Composes the numbered mails of a shipment.
#pragma once

#include <filesystem>
#include <string>
#include <unordered_map>

#include "common/ContentHash.h"
#include "common/StatusDisplay.h"
#include "environment/RunContext.h"
#include "outbox/Shipment.h"
#include "smtp/MailTransport.h"

namespace fieldpost {

/// The place of a mail among the mails of its shipment.
struct MailNumber {
  int number;  ///< from 1
  int count;
};

/// Composes mails from a shipment, the settings and the clock.
class MailComposer {
 public:
  /// Everything that the arguments refer to must outlive the object.
  MailComposer(const RunContext& run, const Shipment& shipment, std::string recipient,
               StatusDisplay& display);

  /// Returns the mail that carries these attachments. Missing files are logged and left out. The Message-ID
  /// depends on the partner ID, the kind of data, the number and the content of the attachments, so that the
  /// same mail sent again has the same one. Throws FileError when a file is unreadable, and
  /// std::overflow_error when the files are too large for the summary.
  [[nodiscard]] Mail Compose(const MailNumber& place, const PathList& attachments) const;

 private:
  [[nodiscard]] PathList Present(const PathList& attachments) const;
  [[nodiscard]] std::string MessageIdOf(const Mail& mail, const MailNumber& place) const;
  [[nodiscard]] ContentHash ContentOf(const std::filesystem::path& file) const;

  RunContext run_;
  DataKind kind_;
  std::string recipient_;
  StatusDisplay& display_;
  std::unordered_map<std::filesystem::path::string_type, ContentHash> known_;  // hashes of the documents
};

}  // namespace fieldpost
