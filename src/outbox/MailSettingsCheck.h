// Checks that the settings are complete enough to send mail.
#pragma once

#include <string>
#include <string_view>

#include "common/Screen.h"
#include "environment/EditWinReg.h"
#include "environment/MailSettings.h"
#include "environment/ModWriteLogFile.h"
#include "outbox/Shipment.h"

namespace fieldpost {

/// What came of checking the mail settings before a run.
struct MailOptionsResult {
  bool requiredMissing = false;  ///< a required setting is missing; the send must not begin
  bool defaultsSaved =
      true;  ///< numbers that were empty now have their defaults, also in the stored settings
};

/// Checks the mail settings before a send, fills in default numbers, and returns the recipients.
class MailSettingsCheck {
 public:
  /// Everything that the arguments refer to must outlive the object.
  MailSettingsCheck(MailSettings& settings, MailSettingsStore& store, EditWinReg& registry,
                    ModWriteLogFile& log, const Screen& screen);

  /// Reports each missing setting in a message box and opens the options dialog on its page. Fills in the
  /// defaults of empty numbers and stores them.
  [[nodiscard]] MailOptionsResult CheckMailOptions();

  /// Reports each missing setting in the log, for an unattended run. Fills in the defaults of empty numbers
  /// and stores them.
  [[nodiscard]] MailOptionsResult CheckMailOptionsQuiet();

  /// Checks the required settings just before mailing. Returns whether all are there; else the first one that
  /// is missing is logged and, with the flag `ShowMessages`, shown.
  [[nodiscard]] bool CheckSendSettings();

  /// Returns the address that mails of a kind of data go to: the one in the registry, or the default.
  [[nodiscard]] std::string GetRecipientAddress(DataKind kind) const;

 private:
  [[nodiscard]] bool ServerOrSenderMissing() const;
  [[nodiscard]] bool PartnerMissing() const;
  [[nodiscard]] std::string_view FirstMissing() const;
  [[nodiscard]] bool FillInDefaults();

  MailSettings& settings_;
  MailSettingsStore& store_;
  EditWinReg& registry_;
  ModWriteLogFile& log_;
  Screen screen_;
};

}  // namespace fieldpost
