#include "xml/NamespaceScopes.h"

#include <fmt/format.h>

#include <algorithm>

#include "common/Text.h"

namespace fieldpost {
namespace {

std::string AttributeText(std::string_view value) {
  return Replaced(Replaced(Replaced(value, "&", "&amp;"), "<", "&lt;"), "\"", "&quot;");
}

}  // namespace

void NamespaceScopes::Add(std::span<const XmlNamespace> declarations) {
  for (const auto& [prefix, uri] : declarations) {
    scopes_.push_back({.depth = depth_, .prefix = std::string(prefix), .uri = std::string(uri)});
    ++uses_[scopes_.back().prefix];
  }
}

void NamespaceScopes::DropInnermost() {
  for (; !scopes_.empty() && scopes_.back().depth == depth_; scopes_.pop_back()) {
    const auto uses = uses_.find(scopes_.back().prefix);
    if (--uses->second == 0) uses_.erase(uses);
  }
}

bool NamespaceScopes::Declares(std::string_view prefix) const {
  return uses_.contains(std::string(prefix));
}

std::string NamespaceScopes::InheritedBy(std::span<const XmlNamespace> own) const {
  std::vector<std::string_view> known;
  for (const XmlNamespace& declaration : own) known.push_back(declaration.prefix);
  std::string text;
  for (auto scope = scopes_.rbegin(); scope != scopes_.rend(); ++scope) {
    if (std::find(known.begin(), known.end(), scope->prefix) != known.end()) continue;
    known.push_back(scope->prefix);
    if (scope->uri.empty()) continue;
    text += fmt::format(" xmlns{}{}=\"{}\"", scope->prefix.empty() ? "" : ":", scope->prefix,
                        AttributeText(scope->uri));
  }
  return text;
}

}  // namespace fieldpost
