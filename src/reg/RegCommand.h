// The command fieldpost-reg, which shows and changes keys and values of the registry.
#pragma once

#include <iosfwd>
#include <span>
#include <string>

#include "platform/KeyStore.h"

namespace fieldpost {

/// Exit statuses of the command.
inline constexpr int RegDone = 0;
inline constexpr int RegFailed =
    1;  ///< the key or value is missing, or the store failed; one line on the error stream says why
inline constexpr int RegWrongCommandLine = 2;  ///< nothing was changed

/// Performs one command:
///
///     add KEY [--ve | --value NAME] [--type REG_SZ|REG_DWORD] [--data DATA]
///     query KEY [--ve | --value NAME]
///     delete KEY [--ve | --value NAME]
///
/// `arguments` are the words after the program's name, in UTF-8. Results are written to `out`, errors to
/// `err`. Returns the exit status.
int RunRegCommand(std::span<const std::string> arguments, KeyStore& keys, std::ostream& out,
                  std::ostream& err);

}  // namespace fieldpost
