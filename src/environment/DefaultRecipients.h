// The mailboxes of a site that has set none; chosen when the program is configured for building.
#pragma once

#include <string_view>

namespace fieldpost {

/// The mailbox for faultlogger data.
std::string_view DefaultFaultlogRecipient();

/// The mailbox for PPC data.
std::string_view DefaultPpcRecipient();

}  // namespace fieldpost
