#include "xml/XmlUsage.h"

#include <fmt/format.h>

namespace fieldpost {

std::string MoreThan(std::size_t count, std::string_view what) {
  return fmt::format("more than {} {}", count, what);
}

std::string XmlUsage::Enter(std::size_t attributes, std::size_t namespaces) {
  hasRoot_ = true;
  if (++depth_ > limits_.depth) return fmt::format("nested deeper than {} levels", limits_.depth);
  if (attributes > limits_.attributes) return MoreThan(limits_.attributes, "attributes in one tag");
  if (namespaces > limits_.namespaces) return MoreThan(limits_.namespaces, "namespaces at a time");
  return {};
}

std::string XmlUsage::AddNodes(std::size_t count) {
  nodes_ += count;
  return nodes_ > limits_.nodes ? MoreThan(limits_.nodes, "elements, attributes and texts") : std::string();
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
