// The command fieldpost-reg: looks at and changes the registry's keys and values.
#pragma once

#include <iosfwd>
#include <span>
#include <string>

#include "platform/KeyStore.h"

namespace fieldpost {

/// Exit statuses of the command.
inline constexpr int RegDone = 0;
inline constexpr int RegFailed = 1;            ///< missing, or refused; a line on the error stream says why
inline constexpr int RegWrongCommandLine = 2;  ///< nothing was done

/// Performs one command:
///
///     add KEY [--ve | --value NAME] [--type REG_SZ|REG_DWORD] [--data DATA]
///     query KEY [--ve | --value NAME]
///     delete KEY [--ve | --value NAME]
///
/// `arguments` are the words after the program's own name, UTF-8. Results go to `out`, what went wrong to
/// `err`. Returns the exit status.
int RunRegCommand(std::span<const std::string> arguments, KeyStore& keys, std::ostream& out,
                  std::ostream& err);

}  // namespace fieldpost
