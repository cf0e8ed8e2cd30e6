#include "outbox/MailSettingsCheck.h"

#include "common/DocumentNames.h"
#include "environment/DefaultRecipients.h"
#include "environment/RegistryKeys.h"

namespace fieldpost {
namespace {

constexpr std::string_view ServerOrSenderText =
    "You have to setup mail options (SMTP Server or Sender address box is empty)";
constexpr std::string_view PartnerBoxText = "You have to setup mail options (PartnerID box is empty)";
constexpr std::string_view PartnerText = "You have to setup mail options (PartnerID is empty)";

bool FillIn(std::string& setting, std::string_view value) {
  if (!setting.empty()) return false;
  setting = value;
  return true;
}

}  // namespace

MailSettingsCheck::MailSettingsCheck(MailSettings& settings, MailSettingsStore& store, const RunFlags& flags,
                                     EditWinReg& registry, ModWriteLogFile& log, UserPrompt& prompt,
                                     StatusDisplay& display)
    : settings_(settings),
      store_(store),
      flags_(flags),
      registry_(registry),
      log_(log),
      prompt_(prompt),
      display_(display) {}

bool MailSettingsCheck::CheckMailOptions() {
  bool missing = false;
  prompt_.SetBusyPointer(true);
  if (ServerOrSenderMissing()) {
    missing = true;
    prompt_.ShowMessage(ServerOrSenderText, MessageIcon::Exclamation, "");
    prompt_.ShowOptions(OptionsPage::MailServer);
  }
  prompt_.SetBusyPointer(false);
  if (PartnerMissing()) {
    missing = true;
    prompt_.ShowMessage(PartnerBoxText, MessageIcon::Exclamation, "");
    prompt_.ShowOptions(OptionsPage::Partner);
  }
  FillInDefaults();
  return missing;
}

bool MailSettingsCheck::CheckMailOptionsQuiet() {
  if (ServerOrSenderMissing()) log_.WriteLog(ServerOrSenderText, LogCategory::Error);
  if (PartnerMissing()) log_.WriteLog(PartnerText, LogCategory::Error);
  FillInDefaults();
  return ServerOrSenderMissing() || PartnerMissing();
}

bool MailSettingsCheck::CheckSendSettings() {
  const std::string_view text = FirstMissing();
  if (text.empty()) return true;
  log_.WriteLog(text, LogCategory::Error);
  if (flags_.ShowMessages) prompt_.ShowMessage(text, MessageIcon::None, "");
  display_.ProcessEvents();
  return false;
}

std::string MailSettingsCheck::GetRecipientAddress() const {
  const std::string address =
      registry_.QueryText(HKEY_LOCAL_MACHINE, flags_.SendingPPC ? PpcRecipientKey : FaultlogRecipientKey, "");
  if (!address.empty()) return address;
  return std::string(flags_.SendingPPC ? DefaultPpcRecipient() : DefaultFaultlogRecipient());
}

bool MailSettingsCheck::ServerOrSenderMissing() const {
  return settings_.SMTPServer.empty() || settings_.SenderAddress.empty();
}

bool MailSettingsCheck::PartnerMissing() const {
  // A partner ID without a letter or digit gives neither file names nor subjects anything to hold.
  return SitePart(settings_.PartnerID).empty();
}

std::string_view MailSettingsCheck::FirstMissing() const {
  if (PartnerMissing()) return "Partner ID missing in FP mail options";
  if (settings_.SenderAddress.empty()) return "Senders address missing in FP mail options";
  if (settings_.SMTPServer.empty()) return "SMTP Server name missing in FP mail options";
  return {};
}

void MailSettingsCheck::FillInDefaults() {
  const bool port = FillIn(settings_.SMTPPort, DefaultSmtpPort);
  const bool tries = FillIn(settings_.TryCount, DefaultTryCount);
  const bool timeout = FillIn(settings_.Timeout, DefaultTimeoutSeconds);
  const std::string problem = port || tries || timeout ? store_.Save(settings_) : "";
  defaultsAreSaved_ = problem.empty();
  if (!defaultsAreSaved_) log_.WriteLog("The mail settings were not saved: " + problem, LogCategory::Error);
}

}  // namespace fieldpost
