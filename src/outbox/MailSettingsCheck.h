// Whether the settings hold what a mail needs.
#pragma once

#include <string>
#include <string_view>

#include "common/RunFlags.h"
#include "common/StatusDisplay.h"
#include "common/UserPrompt.h"
#include "environment/EditWinReg.h"
#include "environment/MailSettings.h"
#include "environment/ModWriteLogFile.h"

namespace fieldpost {

/// Checks the mail settings before a send, fills in the numbers that may default, and knows the recipients.
class MailSettingsCheck {
 public:
  MailSettingsCheck(MailSettings& settings, MailSettingsStore& store, const RunFlags& flags,
                    EditWinReg& registry, ModWriteLogFile& log, UserPrompt& prompt, StatusDisplay& display);

  /// For the person at the screen: message boxes, and the options dialog on the page that needs filling in.
  /// True when something required is missing.
  bool CheckMailOptions();

  /// The same for an unattended run, which has only the log. True when something required is missing.
  bool CheckMailOptionsQuiet();

  /// False when numbers that were filled in last could not be saved.
  [[nodiscard]] bool DefaultsAreSaved() const { return defaultsAreSaved_; }

  /// Just before mailing. True when all is there; else the first thing that is missing is logged and, with
  /// somebody at the screen, shown.
  bool CheckSendSettings();

  /// The address that a mail of the current kind of data goes to.
  [[nodiscard]] std::string GetRecipientAddress() const;

 private:
  [[nodiscard]] bool ServerOrSenderMissing() const;
  [[nodiscard]] bool PartnerMissing() const;
  [[nodiscard]] std::string_view FirstMissing() const;
  void FillInDefaults();

  MailSettings& settings_;
  MailSettingsStore& store_;
  const RunFlags& flags_;
  EditWinReg& registry_;
  ModWriteLogFile& log_;
  UserPrompt& prompt_;
  StatusDisplay& display_;
  bool defaultsAreSaved_ = true;
};

}  // namespace fieldpost
