#include "environment/SettingValues.h"

#include <algorithm>
#include <string>

#include "common/Limits.h"
#include "common/Numbers.h"
#include "common/Text.h"

namespace fieldpost {
namespace {

bool FillIn(std::string& setting, std::int32_t number) {
  if (!setting.empty()) return false;
  setting = std::to_string(number);
  return true;
}

}  // namespace

MailServer ServerOf(const MailSettings& settings) {
  const MailServer byDefault;
  return {.server = settings.SMTPServer,
          .port = NumberOr(settings.SMTPPort, 1, MaxSmtpPort, byDefault.port),
          .tryCount = NumberOr(settings.TryCount, 1, MaxTryCount, byDefault.tryCount),
          .timeoutSeconds = NumberOr(settings.Timeout, 1, MaxTimeoutSeconds, byDefault.timeoutSeconds),
          .userName = settings.MailUserName,
          .password = settings.MailPassword,
          .hostName = settings.MailHostName,
          .tlsMode = TlsModeFrom(settings.TlsMode),
          .tlsCaFile = settings.TlsCaFile};
}

bool FillInNumberDefaults(MailSettings& settings) {
  const MailServer byDefault;
  const bool port = FillIn(settings.SMTPPort, byDefault.port);
  const bool tries = FillIn(settings.TryCount, byDefault.tryCount);
  const bool timeout = FillIn(settings.Timeout, byDefault.timeoutSeconds);
  return port || tries || timeout;
}

bool IsChecked(std::string_view setting) {
  return EqualNoCase(setting, CheckedText);
}

bool UsesZip(const MailSettings& settings) {
  return IsChecked(settings.UseZip);
}

bool SendsFaultlogs(const MailSettings& settings) {
  return IsChecked(settings.SendFault);
}

bool SendsPpc(const MailSettings& settings) {
  return IsChecked(settings.SendPPC);
}

std::int32_t AttachmentsChoice(const MailSettings& settings) {
  return NumberOr(settings.NumAttachments, 0, AllAttachmentsChoice, 0);
}

std::size_t AttachmentsPerMail(const MailSettings& settings) {
  const std::int32_t choice = AttachmentsChoice(settings);
  return choice == AllAttachmentsChoice ? AllAttachments : static_cast<std::size_t>(choice) + 1;
}

TlsMode TlsModeFrom(std::string_view setting) {
  const auto isNamed = [&](std::string_view name) { return EqualNoCase(Trimmed(setting), name); };
  const auto* const found = std::ranges::find_if(TlsModeNames, isNamed);
  return found == TlsModeNames.end() ? TlsMode::Auto : static_cast<TlsMode>(found - TlsModeNames.begin());
}

}  // namespace fieldpost
