#include "xml/XmlUsage.h"

#include <fmt/format.h>

namespace fieldpost {

std::string MoreThan(std::size_t count, std::string_view what) {
  return fmt::format("more than {} {}", count, what);
}

std::string XmlUsage::ExceededAt(std::size_t attributes) const {
  if (depth_ > limits_.depth) return fmt::format("nested deeper than {} levels", limits_.depth);
  if (attributes > limits_.attributes) return MoreThan(limits_.attributes, "attributes in one tag");
  return MoreThan(limits_.namespaces, "namespaces at a time");
}

std::string XmlUsage::TooManyNodes() const {
  return MoreThan(limits_.nodes, "elements, attributes and texts");
}

std::string XmlUsage::AddDeclaration() {
  if (++declarations_ <= MaxXmlDeclarations) return {};
  return MoreThan(MaxXmlDeclarations, "declarations in the document type");
}

std::string XmlUsage::AddEntityUse(std::size_t bytes) {
  if (++entityUses_ > MaxEntityUses) {
    return fmt::format("its entities are used more than {} times", MaxEntityUses);
  }
  return AddEntityBytes(bytes);
}

std::string XmlUsage::AddEntityBytes(std::size_t bytes) {
  entityBytes_ += bytes;
  if (entityBytes_ <= MaxEntityBytes) return {};
  return fmt::format("its entities stand for more than {} bytes", MaxEntityBytes);
}

}  // namespace fieldpost
