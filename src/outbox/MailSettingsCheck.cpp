#include "outbox/MailSettingsCheck.h"

#include "common/DocumentNames.h"
#include "environment/Recipients.h"
#include "environment/SettingValues.h"

namespace fieldpost {
namespace {

constexpr std::string_view ServerOrSenderText =
    "You have to setup mail options (SMTP Server or Sender address box is empty)";
constexpr std::string_view PartnerBoxText = "You have to setup mail options (PartnerID box is empty)";
constexpr std::string_view PartnerText = "You have to setup mail options (PartnerID is empty)";

}  // namespace

MailSettingsCheck::MailSettingsCheck(MailSettings& settings, MailSettingsStore& store, EditWinReg& registry,
                                     ModWriteLogFile& log, const Screen& screen)
    : settings_(settings), store_(store), registry_(registry), log_(log), screen_(screen) {}

MailOptionsResult MailSettingsCheck::CheckMailOptions() {
  bool missing = false;
  UserPrompt& prompt = screen_.prompt;
  prompt.SetBusyPointer(true);
  if (ServerOrSenderMissing()) {
    missing = true;
    prompt.ShowMessage(ServerOrSenderText, MessageIcon::Exclamation, "");
    prompt.ShowOptions(OptionsPage::MailServer);
  }
  prompt.SetBusyPointer(false);
  if (PartnerMissing()) {
    missing = true;
    prompt.ShowMessage(PartnerBoxText, MessageIcon::Exclamation, "");
    prompt.ShowOptions(OptionsPage::Partner);
  }
  return {.requiredMissing = missing, .defaultsSaved = FillInDefaults()};
}

MailOptionsResult MailSettingsCheck::CheckMailOptionsQuiet() {
  if (ServerOrSenderMissing()) log_.WriteLog(ServerOrSenderText, LogCategory::Error);
  if (PartnerMissing()) log_.WriteLog(PartnerText, LogCategory::Error);
  const bool saved = FillInDefaults();
  return {.requiredMissing = ServerOrSenderMissing() || PartnerMissing(), .defaultsSaved = saved};
}

bool MailSettingsCheck::CheckSendSettings() {
  const std::string_view text = FirstMissing();
  if (text.empty()) return true;
  log_.WriteLog(text, LogCategory::Error);
  screen_.ShowMessage(text, MessageIcon::None, "");
  screen_.display.ProcessEvents();
  return false;
}

std::string MailSettingsCheck::GetRecipientAddress(DataKind kind) const {
  return kind == DataKind::Ppc ? PpcRecipient(registry_) : FaultlogRecipient(registry_);
}

bool MailSettingsCheck::ServerOrSenderMissing() const {
  return settings_.SMTPServer.empty() || settings_.SenderAddress.empty();
}

bool MailSettingsCheck::PartnerMissing() const {
  // File names and subjects contain the letters and digits of the partner ID.
  return SitePart(settings_.PartnerID).empty();
}

std::string_view MailSettingsCheck::FirstMissing() const {
  if (PartnerMissing()) return "Partner ID missing in FP mail options";
  if (settings_.SenderAddress.empty()) return "Senders address missing in FP mail options";
  if (settings_.SMTPServer.empty()) return "SMTP Server name missing in FP mail options";
  return {};
}

/// Returns whether the settings are stored with the defaults; a failure is logged.
bool MailSettingsCheck::FillInDefaults() {
  const std::string problem = FillInNumberDefaults(settings_) ? store_.Save(settings_) : "";
  if (!problem.empty()) log_.WriteLog("The mail settings were not saved: " + problem, LogCategory::Error);
  return problem.empty();
}

}  // namespace fieldpost
