#include "viewer/forms/WidgetLogSearch.h"

#include <QElapsedTimer>
#include <QTextDocument>

namespace fieldpost {

WidgetLogSearch::WidgetLogSearch(QTextDocument& document) : document_(document) {
  connect(&timer_, &QTimer::timeout, this, &WidgetLogSearch::SearchSlice);
}

void WidgetLogSearch::Start(const QString& text, SearchDirection direction, int from) {
  text_ = text;
  direction_ = direction;
  row_ = document_.findBlock(from);
  // The first row is looked at twice: from the position on at first, as a whole in the end.
  rowsLeft_ = document_.blockCount() + 1;
  limit_ = from - row_.position() - (direction == SearchDirection::Backward ? 1 : 0);
  timer_.start(0);
}

void WidgetLogSearch::SearchSlice() {
  constexpr qint64 sliceMilliseconds = 20;
  QElapsedTimer time;
  time.start();
  for (; rowsLeft_ > 0; --rowsLeft_) {
    if (time.elapsed() >= sliceMilliseconds) return;
    const qsizetype index = IndexInRow();
    if (index >= 0) {
      timer_.stop();
      Q_EMIT Ended(Match(index));
      return;
    }
    limit_.reset();
    row_ = NextRow();
  }
  timer_.stop();
  Q_EMIT Ended(QTextCursor());
}

/// Where the match in the row begins; -1 when there is none.
qsizetype WidgetLogSearch::IndexInRow() const {
  const QString row = row_.text();
  if (direction_ == SearchDirection::Forward)
    return row.indexOf(text_, limit_.value_or(0), Qt::CaseInsensitive);
  const qsizetype last = limit_.value_or(row.size());
  return last < 0 ? -1 : row.lastIndexOf(text_, last, Qt::CaseInsensitive);
}

/// The adjacent row in the direction of the search, around the document.
QTextBlock WidgetLogSearch::NextRow() const {
  if (direction_ == SearchDirection::Forward) {
    return row_.next().isValid() ? row_.next() : document_.firstBlock();
  }
  return row_.previous().isValid() ? row_.previous() : document_.lastBlock();
}

QTextCursor WidgetLogSearch::Match(qsizetype index) const {
  QTextCursor match(row_);
  match.setPosition(row_.position() + static_cast<int>(index));
  match.setPosition(match.position() + static_cast<int>(text_.size()), QTextCursor::KeepAnchor);
  return match;
}

}  // namespace fieldpost
