// The status text of a mail.
#pragma once

#include <string>
#include <string_view>

#include "smtp/MailTransport.h"

namespace fieldpost {

/// Returns two lines, separated by CR LF: what was sent to whom; "Error: ", `number`, a blank and
/// `description`. `number` is 0 for a mail that was sent and a CURLcode for any other. `description` is the
/// server's last reply or the reason of the failure. The password of `server` becomes "***" in it, also where
/// the server has repeated it in base64. The text of a failure never contains "error: 0", in any letter case.
std::string MailStatusText(const MailServer& server, const Mail& mail, int number,
                           std::string_view description);

}  // namespace fieldpost
