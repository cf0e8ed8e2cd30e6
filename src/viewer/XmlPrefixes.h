// The namespace prefixes that are declared at a point of a document.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace fieldpost {

/// Keeps the declared prefixes during a walk through a document. The time for an element does not grow with
/// the number of declarations.
class XmlPrefixes {
 public:
  using Attributes = std::vector<std::pair<std::string_view, std::string_view>>;

  /// Opens an element. Returns false when its name or the name of an attribute has an undeclared prefix or
  /// more than one colon, or when it declares the prefix "xmlns", or a prefix for an empty namespace.
  bool Enter(std::string_view name, const Attributes& attributes);

  /// Closes the innermost open element.
  void Leave();

 private:
  [[nodiscard]] bool IsKnown(std::string_view name) const;

  struct Declaration {
    std::uint64_t depth;
    std::string prefix;
  };
  std::uint64_t depth_ = 0;
  std::vector<Declaration> declarations_;                 // of the open elements, the innermost last
  std::unordered_map<std::string, std::uint64_t> known_;  // the number of declarations of each prefix
};

}  // namespace fieldpost
