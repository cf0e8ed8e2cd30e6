// The name spaces that are in force within an element.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace fieldpost {

/// Follows a walk through a document, and knows what an element would lose if it were taken out.
class NamespaceScopes {
 public:
  /// `xmlns:prefix="uri"`; without a prefix the default name space, with an empty URI none.
  struct Declaration {
    std::string prefix;
    std::string uri;
  };

  /// An element of this depth begins, with these declarations of its own.
  void Enter(int depth, const std::vector<Declaration>& declarations);

  /// The element of this depth ends.
  void Leave(int depth);

  /// How many declarations are in force, those that are overridden included.
  [[nodiscard]] std::size_t Count() const { return scopes_.size(); }

  /// Declarations as attributes, each with a blank before it, that an element with declarations `own` of its
  /// own has from above.
  [[nodiscard]] std::string InheritedBy(const std::vector<Declaration>& own) const;

 private:
  struct Scope {
    int depth;
    Declaration declaration;
  };
  std::vector<Scope> scopes_;
};

}  // namespace fieldpost
