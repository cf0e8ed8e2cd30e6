#include "environment/SettingValues.h"

#include "common/Limits.h"
#include "common/Numbers.h"
#include "common/Text.h"

namespace fieldpost {
namespace {

constexpr std::int32_t FallbackPort = 25;
constexpr std::int32_t FallbackTries = 2;
constexpr std::int32_t FallbackTimeoutSeconds = 10;

}  // namespace

MailServer ServerOf(const MailSettings& settings) {
  return {.server = settings.SMTPServer,
          .port = NumberOr(settings.SMTPPort, 1, MaxSmtpPort, FallbackPort),
          .tryCount = NumberOr(settings.TryCount, 1, MaxTryCount, FallbackTries),
          .timeoutSeconds = NumberOr(settings.Timeout, 1, MaxTimeoutSeconds, FallbackTimeoutSeconds),
          .userName = settings.MailUserName,
          .password = settings.MailPassword,
          .hostName = settings.MailHostName,
          .tlsMode = TlsModeFrom(settings.TlsMode),
          .tlsCaFile = settings.TlsCaFile};
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
  if (EqualNoCase(Trimmed(setting), "required")) return TlsMode::Required;
  if (EqualNoCase(Trimmed(setting), "none")) return TlsMode::None;
  return TlsMode::Auto;
}

}  // namespace fieldpost
