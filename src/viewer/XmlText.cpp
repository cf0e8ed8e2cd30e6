#include "viewer/XmlText.h"

namespace fieldpost {
namespace {

constexpr std::string_view WhiteSpace = " \t\r\n";

}  // namespace

void XmlText::Enter(std::string_view space) {
  const bool above = !preserve_.empty() && preserve_.back();
  preserve_.push_back(space == "preserve" || (above && space != "default"));
}

void XmlText::Leave() {
  preserve_.pop_back();
}

void XmlText::Add(std::string_view part, Kind kind) {
  if (preserve_.empty()) return;
  if (kind != kind_) EndText();
  kind_ = kind;
  if (preserve_.back()) return Put(part);
  const std::size_t last = part.find_last_not_of(WhiteSpace);
  if (last == std::string_view::npos) {
    if (begun_) held_ += part;
    return;
  }
  const std::size_t first = begun_ ? 0 : part.find_first_not_of(WhiteSpace);
  Put(part.substr(first, last + 1 - first));
  held_ = part.substr(last + 1);
}

void XmlText::EndText() {
  begun_ = false;
  held_.clear();
}

void XmlText::Put(std::string_view part) {
  if (part.empty()) return;
  if (!begun_) tree_.AppendToLabel(":  ");
  begun_ = true;
  if (!held_.empty()) tree_.AppendToLabel(held_);
  held_.clear();
  tree_.AppendToLabel(part);
}

}  // namespace fieldpost
