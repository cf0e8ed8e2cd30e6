// The registry's names for what the program keeps and reads there.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/KeyStore.h"

namespace fieldpost {

inline constexpr KeyHandle HKEY_LOCAL_MACHINE = KeyHandle::LocalMachine;

inline constexpr std::int32_t REG_SZ = 1;     ///< a text
inline constexpr std::int32_t REG_DWORD = 4;  ///< a 32-bit number

/// The name of a key's unnamed value.
inline constexpr std::string_view DefaultValue;

/// Default value: the installation path of the service suite, which alone writes it.
inline constexpr std::string_view SuiteInstallPathKey = R"(SOFTWARE\Kestrel\OrvikShared\Common\InstPath)";

/// Value PpcFileNameValue: which files make up the suite's PPC database. The suite alone writes it.
inline constexpr std::string_view PpcDatabaseKey = R"(SOFTWARE\Kestrel\OrvikShared\PPCDb)";
inline constexpr std::string_view PpcFileNameValue = "PpcFileName";

/// Default value: the program's own folder, written at each start of its window.
inline constexpr std::string_view ProgramFolderKey = R"(SOFTWARE\Kestrel\Fieldpost\Common\InstPath)";

/// Default values: the mailboxes that faultlogger data and PPC data go to.
inline constexpr std::string_view FaultlogRecipientKey = R"(SOFTWARE\Kestrel\Fieldpost\Common\Mail\Faultlog)";
inline constexpr std::string_view PpcRecipientKey = R"(SOFTWARE\Kestrel\Fieldpost\Common\Mail\PPC)";

/// Value LastCollectionValue: when the faultlogger files were last collected.
inline constexpr std::string_view TimeKey = R"(SOFTWARE\Kestrel\Fieldpost\Common\Time)";
inline constexpr std::string_view LastCollectionValue = "LastTCol";

}  // namespace fieldpost
