// The namespaces that are in force within an element.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "xml/XmlHandler.h"

namespace fieldpost {

/// Keeps the namespaces declared at the current element of a document. The time for an element depends only
/// on its own declarations.
class NamespaceScopes {
 public:
  /// Opens an element with these declarations of its own.
  void Enter(std::span<const XmlNamespace> declarations) {
    ++depth_;
    if (!declarations.empty()) Add(declarations);
  }

  /// Closes the innermost open element.
  void Leave() {
    if (!scopes_.empty() && scopes_.back().depth == depth_) DropInnermost();
    --depth_;
  }

  /// Whether a prefix, not an empty one, is declared here.
  [[nodiscard]] bool Declares(std::string_view prefix) const;

  /// Returns the declarations that an element with declarations `own` inherits, as the text of attributes,
  /// each with a blank before it: with them the element can stand alone.
  [[nodiscard]] std::string InheritedBy(std::span<const XmlNamespace> own) const;

 private:
  struct Scope {
    std::size_t depth;
    std::string prefix;
    std::string uri;
  };

  void Add(std::span<const XmlNamespace> declarations);
  void DropInnermost();

  std::size_t depth_ = 0;
  std::vector<Scope> scopes_;                          // the latest last
  std::unordered_map<std::string, std::size_t> uses_;  // how many of these each prefix has
};

}  // namespace fieldpost
