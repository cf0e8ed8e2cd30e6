#include "faultlog/BuildXML.h"

#include "common/Text.h"

namespace fieldpost {

void BuildXML::OpenXML(std::string_view name) {
  if (name.empty()) return;
  XmlText_.assign("<").append(name).append(">");
  characters_ = CountCharacters(XmlText_);
  elements_ = 0;
}

std::string BuildXML::CloseXML(std::string_view name) const {
  if (name.empty()) return {};
  std::string result;
  result.reserve(XmlText_.size() + name.size() + 3);
  return result.append(XmlText_).append("</").append(name).append(">");
}

void BuildXML::InsertXML(FaultloggerFile& file) {
  if (XmlText_.empty() || !file.IsComplete()) return;
  const std::string& xml = file.ContainerXml();
  XmlText_.append("\r\n").append(xml);
  characters_ += 2 + CountCharacters(xml);
  ++elements_;
}

}  // namespace fieldpost
