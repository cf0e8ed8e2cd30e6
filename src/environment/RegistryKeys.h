// The keys and value names that the program uses in the registry.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/KeyStore.h"

namespace fieldpost {

inline constexpr KeyHandle HKEY_LOCAL_MACHINE = KeyHandle::LocalMachine;

inline constexpr std::int32_t REG_SZ = 1;     ///< the type of a text
inline constexpr std::int32_t REG_DWORD = 4;  ///< the type of a 32-bit number

/// The name of a key's default value.
inline constexpr std::string_view DefaultValue;

/// The key whose default value is the installation path of the service suite. Only the suite writes it.
inline constexpr std::string_view SuiteInstallPathKey = R"(SOFTWARE\Kestrel\OrvikShared\Common\InstPath)";

/// The key whose value `PpcFileNameValue` names the files of the suite's PPC database. Only the suite writes
/// it.
inline constexpr std::string_view PpcDatabaseKey = R"(SOFTWARE\Kestrel\OrvikShared\PPCDb)";
inline constexpr std::string_view PpcFileNameValue = "PpcFileName";

/// The key whose default value is the program's own folder, written whenever the window starts.
inline constexpr std::string_view ProgramFolderKey = R"(SOFTWARE\Kestrel\Fieldpost\Common\InstPath)";

/// The keys whose default values are the addresses that receive faultlogger data and PPC data.
inline constexpr std::string_view FaultlogRecipientKey = R"(SOFTWARE\Kestrel\Fieldpost\Common\Mail\Faultlog)";
inline constexpr std::string_view PpcRecipientKey = R"(SOFTWARE\Kestrel\Fieldpost\Common\Mail\PPC)";

/// The key whose value `LastCollectionValue` is the time when faultlogger files were last collected.
inline constexpr std::string_view TimeKey = R"(SOFTWARE\Kestrel\Fieldpost\Common\Time)";
inline constexpr std::string_view LastCollectionValue = "LastTCol";

}  // namespace fieldpost
