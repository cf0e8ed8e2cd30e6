// The mailboxes that are used when the registry names none. CMake sets them.
#pragma once

#include <string_view>

namespace fieldpost {

/// Returns the address that receives faultlogger data by default.
std::string_view DefaultFaultlogRecipient();

/// Returns the address that receives PPC data by default.
std::string_view DefaultPpcRecipient();

}  // namespace fieldpost
