// Whether the prefixes of names are declared.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace fieldpost {

/// Follows a walk through a document, and knows which prefixes are declared. The time that an element takes
/// does not grow with the number of those that are.
class XmlPrefixes {
 public:
  using Attributes = std::vector<std::pair<std::string_view, std::string_view>>;

  /// An element begins. False when its name or that of an attribute has a prefix that is not declared, or has
  /// more than one colon, or when a prefix is declared that cannot be.
  bool Enter(std::string_view name, const Attributes& attributes);

  /// The element that began last ends.
  void Leave();

 private:
  [[nodiscard]] bool IsKnown(std::string_view name) const;

  struct Declaration {
    std::uint64_t depth;
    std::string prefix;
  };
  std::uint64_t depth_ = 0;
  std::vector<Declaration> declarations_;                 // in force, the latest last
  std::unordered_map<std::string, std::uint64_t> known_;  // how many of these each prefix has
};

}  // namespace fieldpost
