#include "viewer/forms/WidgetXmlTreeSearch.h"

#include <QElapsedTimer>

#include "common/forms/WidgetText.h"

namespace fieldpost {

WidgetXmlTreeSearch::State WidgetXmlTreeSearch::SearchFor(int milliseconds) {
  constexpr int partsBetweenClockReads = 64;
  QElapsedTimer time;
  time.start();
  for (int parts = 1; left_ > 0; ++parts) {
    if (MatchesPart()) return State::Found;
    if (partAt_ == 0 && --left_ > 0) Step();
    if (parts % partsBetweenClockReads == 0 && time.elapsed() >= milliseconds) break;
  }
  return left_ > 0 ? State::Searching : State::NotFound;
}

/// The parts overlap, so that a match across the end of a part is found in the next part.
bool WidgetXmlTreeSearch::MatchesPart() {
  constexpr std::size_t partBytes = 32'768;
  constexpr std::size_t maxBytesACharacter = 4;
  const std::size_t overlap = static_cast<std::size_t>(matcher_.pattern().size() + 1) * maxBytesACharacter;
  const std::string part = tree_.LabelPart(node_, partAt_, partBytes + overlap);
  const bool isLast = part.size() < partBytes + overlap;
  partAt_ = isLast ? 0 : partAt_ + partBytes;
  return matcher_.indexIn(ToQt(part)) >= 0;
}

void WidgetXmlTreeSearch::Step() {
  const bool forward = direction_ == SearchDirection::Forward;
  const XmlTree::Node end = forward ? size_ - 1 : 0;
  if (node_ != end) {
    node_ = forward ? node_ + 1 : node_ - 1;
  } else {
    node_ = forward ? 0 : size_ - 1;
    hasWrapped_ = true;
  }
}

}  // namespace fieldpost
