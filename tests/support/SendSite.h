// A site from which documents are sent.
#pragma once

#include <fmt/format.h>

#include <string>
#include <string_view>
#include <vector>

#include "support/OutboxParts.h"

namespace fieldpost::test {

inline constexpr std::string_view Waiting =
    "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Not Sent\"><A/></FLFILE>\r\n";
inline constexpr std::string_view Sent = "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Sent\"><A/></FLFILE>\r\n";

struct SendSite : ReadyOutboxSite {
  /// Puts a document into the Process folder.
  std::filesystem::path Document(std::string_view name, std::string_view content = Waiting) const {
    return folder.Write("home/Faultlog/Process/" + std::string(name), content);
  }
  std::vector<std::filesystem::path> Documents(int count) const {
    std::vector<std::filesystem::path> result;
    for (int i = 1; i <= count; ++i)
      result.push_back(Document(fmt::format("FLog.4711.2004031514{:02}.xml", i)));
    return result;
  }
  [[nodiscard]] std::filesystem::path Journal() const { return Tree("Process") / "FLog.sent"; }
};

}  // namespace fieldpost::test
