#include "common/ProgramVersion.h"

#include <fmt/format.h>

namespace fieldpost {

std::string VersionText(int major, int minor, int revision) {
  return fmt::format("Fieldpost {:02}.{:02}.{:03}", major, minor, revision);
}

std::string ProgramVersionText() {
  return VersionText(FIELDPOST_VERSION_MAJOR, FIELDPOST_VERSION_MINOR, FIELDPOST_VERSION_REVISION);
}

}  // namespace fieldpost
