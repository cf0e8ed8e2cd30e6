#include "viewer/XmlPrefixes.h"

#include <algorithm>

namespace fieldpost {
namespace {

constexpr std::string_view Declares = "xmlns:";

}  // namespace

bool XmlPrefixes::Enter(std::string_view name, const Attributes& attributes) {
  ++depth_;
  for (const auto& [attribute, value] : attributes) {
    if (!attribute.starts_with(Declares)) continue;
    const std::string prefix(attribute.substr(Declares.size()));
    if (value.empty() || prefix == "xmlns") return false;
    declarations_.push_back({.depth = depth_, .prefix = prefix});
    ++known_[prefix];
  }
  return IsKnown(name) && std::all_of(attributes.begin(), attributes.end(), [this](const auto& attribute) {
           return attribute.first.starts_with(Declares) || IsKnown(attribute.first);
         });
}

void XmlPrefixes::Leave() {
  while (!declarations_.empty() && declarations_.back().depth == depth_) {
    const auto known = known_.find(declarations_.back().prefix);
    if (--known->second == 0) known_.erase(known);
    declarations_.pop_back();
  }
  --depth_;
}

bool XmlPrefixes::IsKnown(std::string_view name) const {
  const std::size_t colon = name.find(':');
  if (colon == std::string_view::npos) return true;
  if (name.find(':', colon + 1) != std::string_view::npos) return false;
  const std::string_view prefix = name.substr(0, colon);
  return prefix == "xml" || known_.contains(std::string(prefix));
}

}  // namespace fieldpost
