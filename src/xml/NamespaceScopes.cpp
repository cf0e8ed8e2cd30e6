#include "xml/NamespaceScopes.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "common/Text.h"

namespace fieldpost {
namespace {

std::string AttributeText(std::string_view value) {
  return Replaced(Replaced(Replaced(value, "&", "&amp;"), "<", "&lt;"), "\"", "&quot;");
}

}  // namespace

void NamespaceScopes::Enter(int depth, const std::vector<Declaration>& declarations) {
  for (const Declaration& declaration : declarations) scopes_.push_back({depth, declaration});
}

void NamespaceScopes::Leave(int depth) {
  while (!scopes_.empty() && scopes_.back().depth >= depth) scopes_.pop_back();
}

std::string NamespaceScopes::InheritedBy(const std::vector<Declaration>& own) const {
  std::vector<std::string_view> known;
  for (const Declaration& declaration : own) known.push_back(declaration.prefix);
  std::string text;
  for (auto scope = scopes_.rbegin(); scope != scopes_.rend(); ++scope) {
    const auto& [prefix, uri] = scope->declaration;
    if (std::find(known.begin(), known.end(), prefix) != known.end()) continue;
    known.push_back(prefix);
    if (uri.empty()) continue;
    text += fmt::format(" xmlns{}{}=\"{}\"", prefix.empty() ? "" : ":", prefix, AttributeText(uri));
  }
  return text;
}

}  // namespace fieldpost
