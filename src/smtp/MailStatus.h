// The two lines that tell what became of a mail.
#pragma once

#include <string>
#include <string_view>

#include "smtp/MailTransport.h"

namespace fieldpost {

/// The text that MailTransport::StatusText promises. `number` is 0 for a mail that was sent. `description` is
/// the server's last reply or what went wrong; should the server have repeated the password, in plain or as
/// it travels in a login, that part becomes "***".
std::string MailStatusText(const MailServer& server, const Mail& mail, int number,
                           std::string_view description);

}  // namespace fieldpost
