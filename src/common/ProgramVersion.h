// The program's version, which the build defines.
#pragma once

#include <string>

namespace fieldpost {

/// Returns e.g. "Fieldpost 01.06.001" for 1, 6 and 1. The numbers are padded with zeros to two, two and three
/// digits, and never cut.
std::string VersionText(int major, int minor, int revision);

/// Returns the version text of this program, by the version numbers of the CMake project.
std::string ProgramVersionText();

}  // namespace fieldpost
