// Explains failures of a connection to a mail server in words for the user.
#pragma once

#include <curl/curl.h>

#include <chrono>

#include "smtp/CurlConnection.h"
#include "smtp/MailTransport.h"
#include "smtp/SmtpLogin.h"
#include "smtp/SmtpReply.h"

namespace fieldpost {

/// The error of a server from which nothing came for `waited`.
[[nodiscard]] SmtpError NoReply(std::chrono::seconds waited);

/// The error of a server whose reply began but was not complete after `waited`.
[[nodiscard]] SmtpError IncompleteReply(std::chrono::seconds waited);

/// The error of an open connection to `server` that was closed without a reply.
[[nodiscard]] SmtpError ConnectionLost(const MailServer& server);

/// The error of a connection to `server` that could not be opened. `code` is libcurl's result for
/// `connection`; `login` has seen the dialogue up to the failure.
[[nodiscard]] SmtpError OpeningFailed(CURLcode code, const MailServer& server, const SmtpLogin& login,
                                      const CurlConnection& connection);

}  // namespace fieldpost
