#include "outbox/MailComposer.h"

#include <fmt/format.h>

#include <string_view>
#include <utility>

#include "common/DateText.h"
#include "common/DocumentNames.h"
#include "common/PathText.h"
#include "common/Text.h"
#include "outbox/MailSummary.h"
#include "platform/FileHash.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

/// Returns the characters of a sender's domain that a Message-ID may contain, or a placeholder when they are
/// not a domain.
std::string DomainOf(std::string_view address) {
  std::string domain;
  for (const char c : address.substr(address.find('@') + 1)) {
    if (c == '.' || c == '-' || c == '_' || !LettersAndDigits({&c, 1}).empty()) domain += c;
  }
  const bool isDomain = !domain.starts_with('.') && !domain.ends_with('.') &&
                        domain.find("..") == std::string::npos && !domain.empty();
  return isDomain ? domain : "fieldpost.invalid";
}

}  // namespace

MailComposer::MailComposer(const RunContext& run, const Shipment& shipment, std::string recipient,
                           StatusDisplay& display)
    : run_(run), kind_(shipment.kind), recipient_(std::move(recipient)), display_(display) {
  for (const PendingFile& document : shipment.documents) {
    if (document.content) known_.insert_or_assign(document.path.native(), *document.content);
  }
}

Mail MailComposer::Compose(const MailNumber& place, const PathList& attachments) const {
  Mail mail{.sender = run_.settings.SenderAddress,
            .recipient = recipient_,
            .organization = run_.settings.Organization,
            .subject = {},
            .body = {},
            .messageId = {},
            .date = run_.clock.Now(),
            .attachments = Present(attachments)};
  mail.subject = fmt::format("{}/{}   Partner ID:{}  Sent:{}", place.number, place.count,
                             SitePart(run_.settings.PartnerID), DateAndTime(mail.date));
  mail.body = fmt::format("{}/{}\r\n\r\n{}", place.number, place.count,
                          BuildMailSummary(run_.files, mail.attachments, kind_));
  mail.messageId = MessageIdOf(mail, place);
  return mail;
}

PathList MailComposer::Present(const PathList& attachments) const {
  PathList present;
  for (const fs::path& file : attachments) {
    if (run_.files.IsFile(file)) {
      present.push_back(file);
    } else {
      run_.log.WriteLog(fmt::format("File not found ({})", EscapeControls(Utf8FromPath(file))),
                        LogCategory::Error);
    }
  }
  return present;
}

std::string MailComposer::MessageIdOf(const Mail& mail, const MailNumber& place) const {
  std::string identity =
      fmt::format("{} {}{}/{}", run_.settings.PartnerID, PrefixOf(kind_), place.number, place.count);
  for (const fs::path& file : mail.attachments) identity += " " + ToHex(ContentOf(file));
  return fmt::format("<{}@{}>", ToHex(HashContent(identity)), DomainOf(mail.sender));
}

ContentHash MailComposer::ContentOf(const fs::path& file) const {
  const auto known = known_.find(file.native());
  return known == known_.end() ? HashFile(run_.files, file, display_) : known->second;
}

}  // namespace fieldpost
