// Faultlogger files, and what a run queues of them.
#pragma once

#include <fmt/format.h>

#include <string>
#include <string_view>
#include <vector>

#include "common/RunLists.h"

namespace fieldpost::test {

/// The paths of `PendingFiles`, in order.
inline PathList PathsOf(const std::vector<PendingFile>& pending) {
  PathList paths;
  for (const PendingFile& one : pending) paths.push_back(one.path);
  return paths;
}

/// A faultlogger file with one entry for each mode letter.
inline std::string FaultlogXml(std::string_view productCode, std::string_view modes = "F",
                               std::string_view date = "20040101", std::string_view text = "text") {
  std::string entries;
  int number = 0;
  for (const char mode : modes) {
    entries += fmt::format(
        "<FAULTLOG No=\"{}\"><MODEIND>{}</MODEIND><CONDATE>{}</CONDATE><TEXT>{}</TEXT></FAULTLOG>", ++number,
        mode, date, text);
  }
  return fmt::format(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<FLFILE><PRODCODE>{}</PRODCODE>{}</FLFILE>\n", productCode,
      entries);
}

}  // namespace fieldpost::test
