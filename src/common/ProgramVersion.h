// The program's version, as the build was told it.
#pragma once

#include <string>

namespace fieldpost {

/// "Fieldpost 01.06.001" for 1, 6 and 1. The numbers are padded with zeros to two, two and three digits, and
/// never cut.
std::string VersionText(int major, int minor, int revision);

/// The same for this program. Its numbers are those of the build's project.
std::string ProgramVersionText();

}  // namespace fieldpost
