// The search of the log viewer.
#pragma once

#include <QObject>
#include <QString>
#include <QTextBlock>
#include <QTextCursor>
#include <QTimer>
#include <optional>

#include "viewer/SearchDirection.h"

class QTextDocument;

namespace fieldpost {

/// Searches a document for a text, without regard to case, in slices between which window events are
/// processed: QTextDocument::find would hold them up for a second in a large log. A match lies within one
/// row.
class WidgetLogSearch final : public QObject {
  Q_OBJECT

 public:
  /// `document` outlives the search, and does not change while it runs.
  explicit WidgetLogSearch(QTextDocument& document);

  /// Searches once around the document for `text`, which is not empty; a search that still runs is given up.
  /// Forward, the first match is the next that begins at the position `from` or after it; backward, the next
  /// that begins before it.
  void Start(const QString& text, SearchDirection direction, int from);

 Q_SIGNALS:
  /// The search has ended. `match` selects the match; it is null when there is none.
  void Ended(const QTextCursor& match);

 private:
  void SearchSlice();
  [[nodiscard]] qsizetype IndexInRow() const;
  [[nodiscard]] QTextBlock NextRow() const;
  [[nodiscard]] QTextCursor Match(qsizetype index) const;

  QTextDocument& document_;
  QTimer timer_;
  QString text_;
  SearchDirection direction_ = SearchDirection::Forward;
  QTextBlock row_;    // the next to look at
  int rowsLeft_ = 0;  // to look at, this one included
  std::optional<qsizetype>
      limit_;  // in the first row: where a match begins at the earliest, or at the latest
};

}  // namespace fieldpost
