#include "faultlog/BuildXML.h"

#include <utility>

#include "common/Utf8.h"

namespace fieldpost {
namespace {

/// Bytes reserved so that a text that grows to a combined document's limit is rarely reallocated. Memory that
/// is reserved but never written costs nothing.
constexpr std::size_t UsualLength = 1'400'000;

}  // namespace

void BuildXML::OpenXML(std::string_view name) {
  if (name.empty()) return;
  XmlText_.reserve(UsualLength);
  XmlText_.assign("<").append(name).append(">");
  characters_ = CountCharacters(XmlText_);
  elements_ = 0;
}

std::string BuildXML::CloseXML(std::string_view name) const& {
  BuildXML copy(*this);
  return std::move(copy).CloseXML(name);
}

std::string BuildXML::CloseXML(std::string_view name) && {
  if (name.empty()) return {};
  XmlText_.append("</").append(name).append(">");
  return std::move(XmlText_);
}

void BuildXML::InsertXML(FaultloggerFile& file) {
  if (XmlText_.empty() || !file.IsComplete()) return;
  const std::string& xml = file.ContainerXml();
  XmlText_.append("\r\n").append(xml);
  characters_ += 2 + CountCharacters(xml);
  ++elements_;
}

}  // namespace fieldpost
