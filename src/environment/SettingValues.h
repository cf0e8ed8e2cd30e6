// The settings as typed values. A setting that is empty, malformed or out of range has its default here.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

#include "common/MailServer.h"
#include "environment/MailSettings.h"

namespace fieldpost {

/// Returns the mail server that the settings name, with MailServer's defaults of port, attempts, timeout and
/// TLS mode.
[[nodiscard]] MailServer ServerOf(const MailSettings& settings);

/// Sets port, attempts and timeout to MailServer's defaults where they are empty. Returns whether any was.
bool FillInNumberDefaults(MailSettings& settings);

/// Whether a check box setting is checked: its text is "True" in any letter case.
[[nodiscard]] bool IsChecked(std::string_view setting);

/// Whether all documents of a shipment are packed into one zip.
[[nodiscard]] bool UsesZip(const MailSettings& settings);

/// Whether the interactive send sends faultlogger data.
[[nodiscard]] bool SendsFaultlogs(const MailSettings& settings);

/// Whether the interactive send sends PPC data.
[[nodiscard]] bool SendsPpc(const MailSettings& settings);

/// The largest index in the list of attachments per mail; it stands for "All".
inline constexpr std::int32_t AllAttachmentsChoice = 9;

/// Returns the index, from 0, that is chosen in the list of attachments per mail; 0 by default.
[[nodiscard]] std::int32_t AttachmentsChoice(const MailSettings& settings);

/// Returned by AttachmentsPerMail: all attachments in one mail.
inline constexpr std::size_t AllAttachments = std::numeric_limits<std::size_t>::max();

/// Returns how many attachments a mail has at most: one more than the chosen index, or AllAttachments.
[[nodiscard]] std::size_t AttachmentsPerMail(const MailSettings& settings);

/// The texts of the setting `TlsMode`, in the order of TlsMode's values.
inline constexpr std::array<std::string_view, 3> TlsModeNames{"auto", "required", "none"};

/// Returns the TLS mode that the text of the setting `TlsMode` names, in any letter case and with blanks
/// around it; TlsMode::Auto when it names none.
[[nodiscard]] TlsMode TlsModeFrom(std::string_view setting);

}  // namespace fieldpost
