#include "viewer/LogSearch.h"

#include <algorithm>
#include <utility>

namespace fieldpost {

LogSearch::LogSearch(std::string_view text, Pattern pattern, std::size_t from, SearchDirection direction)
    : text_(text),
      pattern_(std::move(pattern)),
      direction_(direction),
      position_(from < text.size() ? from : 0),
      left_(pattern_.empty() ? 0 : text.size()) {
  if (left_ == 0) return;
  for (const std::string& way : pattern_.front()) mayBegin_[static_cast<unsigned char>(way.front())] = true;
  if (direction == SearchDirection::Backward) Move();
}

SearchState LogSearch::Step() {
  for (std::size_t slice = std::min(left_, SliceBytes); slice > 0; --slice, --left_) {
    if (mayBegin_[static_cast<unsigned char>(text_[position_])] && MatchesHere()) return SearchState::Found;
    Move();
  }
  return left_ == 0 ? SearchState::NotFound : SearchState::Running;
}

bool LogSearch::MatchesHere() {
  std::size_t at = position_;
  for (const std::vector<std::string>& ways : pattern_) {
    const auto fits = [&](const std::string& way) { return text_.substr(at, way.size()) == way; };
    const auto way = std::find_if(ways.begin(), ways.end(), fits);
    if (way == ways.end()) return false;
    at += way->size();
  }
  end_ = at;
  return true;
}

void LogSearch::Move() {
  if (direction_ == SearchDirection::Forward) {
    position_ = position_ + 1 == text_.size() ? 0 : position_ + 1;
  } else {
    position_ = position_ == 0 ? text_.size() - 1 : position_ - 1;
  }
}

}  // namespace fieldpost
