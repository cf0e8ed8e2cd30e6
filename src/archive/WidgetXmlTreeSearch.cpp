#include "archive/WidgetXmlTreeSearch.h"

#include <QElapsedTimer>

#include "common/WidgetText.h"

namespace fieldpost {

WidgetXmlTreeSearch::State WidgetXmlTreeSearch::SearchFor(int milliseconds) {
  constexpr XmlTree::Node LabelsBetweenLooksAtTheClock = 64;
  QElapsedTimer time;
  time.start();
  while (left_ > 0) {
    if (Matches()) return State::Found;
    if (--left_ > 0) Step();
    if (left_ % LabelsBetweenLooksAtTheClock == 0 && time.elapsed() >= milliseconds) break;
  }
  return left_ > 0 ? State::Searching : State::NotFound;
}

bool WidgetXmlTreeSearch::Matches() const {
  return matcher_.indexIn(ToQt(tree_.Label(node_))) >= 0;
}

void WidgetXmlTreeSearch::Step() {
  const bool forward = direction_ == Direction::Forward;
  const XmlTree::Node end = forward ? size_ - 1 : 0;
  if (node_ != end) {
    node_ = forward ? node_ + 1 : node_ - 1;
  } else {
    node_ = forward ? 0 : size_ - 1;
    wentRound_ = true;
  }
}

}  // namespace fieldpost
