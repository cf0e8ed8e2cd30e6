// The mailboxes that data is sent to.
#pragma once

#include <string>
#include <string_view>

#include "environment/EditWinReg.h"

namespace fieldpost {

/// Returns the address that receives faultlogger data by default. CMake sets it.
std::string_view DefaultFaultlogRecipient();

/// Returns the address that receives PPC data by default. CMake sets it.
std::string_view DefaultPpcRecipient();

/// Returns the address that receives faultlogger data: the one in the registry, or the default.
[[nodiscard]] std::string FaultlogRecipient(EditWinReg& registry);

/// Returns the address that receives PPC data: the one in the registry, or the default.
[[nodiscard]] std::string PpcRecipient(EditWinReg& registry);

}  // namespace fieldpost
