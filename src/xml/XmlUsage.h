// Counts what a document uses and compares it with its limits.
#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>

#include "common/Limits.h"

namespace fieldpost {

/// Limits of a document; common/Limits.h gives the reasons. Declarations and entities have the same limits in
/// all documents.
struct XmlLimits {
  static constexpr std::size_t Unlimited = std::numeric_limits<std::size_t>::max();

  std::size_t depth = MaxXmlDepth;
  std::size_t nodes = MaxXmlNodes;  ///< of a tree; a stream of events keeps none
  std::size_t attributes = MaxXmlAttributes;
  std::size_t namespaces = MaxXmlNamespaces;
  std::size_t names = MaxXmlNames;
  std::size_t tagBytes = Unlimited;  ///< of one start tag; libxml2's own limit is 10 MB
};

/// Counts what a document uses while it is read. Each function returns the limit that is exceeded, in words,
/// or an empty text. Functions called for every element are inline: they take a measurable part of the time.
class XmlUsage {
 public:
  explicit XmlUsage(const XmlLimits& limits) : limits_(limits) {}

  /// How many elements are open.
  [[nodiscard]] std::size_t Depth() const { return depth_; }

  /// Whether any element was opened.
  [[nodiscard]] bool HasRoot() const { return hasRoot_; }

  /// Opens an element; `namespaces` are in force at it.
  [[nodiscard]] std::string Enter(std::size_t attributes, std::size_t namespaces) {
    hasRoot_ = true;
    const bool isWithin =
        ++depth_ <= limits_.depth && attributes <= limits_.attributes && namespaces <= limits_.namespaces;
    return isWithin ? std::string() : ExceededAt(attributes);
  }

  /// Closes the innermost open element.
  void Leave() { --depth_; }

  /// Counts nodes of a tree.
  [[nodiscard]] std::string AddNodes(std::size_t count) {
    nodes_ += count;
    return nodes_ <= limits_.nodes ? std::string() : TooManyNodes();
  }

  /// Counts a declaration in the document type.
  [[nodiscard]] std::string AddDeclaration();

  /// Counts a reference to an entity of `bytes` bytes.
  [[nodiscard]] std::string AddEntityUse(std::size_t bytes);

  /// Counts bytes that the document type adds to the document.
  [[nodiscard]] std::string AddEntityBytes(std::size_t bytes);

 private:
  [[nodiscard]] std::string ExceededAt(std::size_t attributes) const;
  [[nodiscard]] std::string TooManyNodes() const;

  XmlLimits limits_;
  bool hasRoot_ = false;
  std::size_t depth_ = 0;
  std::size_t nodes_ = 0;
  std::size_t declarations_ = 0;
  std::size_t entityUses_ = 0;
  std::size_t entityBytes_ = 0;
};

/// "more than COUNT WHAT", for an exceeded limit.
[[nodiscard]] std::string MoreThan(std::size_t count, std::string_view what);

}  // namespace fieldpost
