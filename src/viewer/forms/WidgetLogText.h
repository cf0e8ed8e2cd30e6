// Shows a log of any size to read.
#pragma once

#include <QAbstractScrollArea>
#include <QBasicTimer>
#include <QTimer>
#include <string>

#include "viewer/LogSearch.h"
#include "viewer/LogText.h"
#include "viewer/forms/WidgetLogRow.h"

namespace fieldpost {

/// A read-only text with a caret, selection, copying and search. Only the rows that are visible are decoded
/// and drawn, so that opening and scrolling take the same time for any size.
class WidgetLogText final : public QAbstractScrollArea {
  Q_OBJECT

 public:
  explicit WidgetLogText(QWidget* parent = nullptr);

  /// Shows a UTF-8 text from its beginning. Only MaxShownLogBytes bytes can be shown.
  void SetText(std::string bytes);

  [[nodiscard]] const LogText& Text() const { return text_; }

  /// The text that is selected, with LF as line end.
  [[nodiscard]] QString SelectedText() const;

  /// The rows in sight, with LF as line end.
  [[nodiscard]] QString VisibleText() const;

  /// Byte offset of the caret.
  [[nodiscard]] std::size_t Caret() const { return caret_; }

  /// Searches without regard to case, once around the text, while the window goes on living; a search that
  /// still runs is given up. The match is selected; FindEnded tells how it ended. A new match begins after
  /// (or before) the selection; with `stay` the selection itself may be the match.
  void Find(const QString& what, SearchDirection direction, bool stay = false);

 Q_SIGNALS:
  void FindEnded(bool found);

 public Q_SLOTS:
  void Copy() const;
  void SelectAll();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void changeEvent(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  void timerEvent(QTimerEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

 private:
  enum class Select { No, Yes };

  [[nodiscard]] int RowHeight() const;
  [[nodiscard]] int VisibleRows() const;
  [[nodiscard]] std::size_t FirstRow() const;
  [[nodiscard]] std::size_t SelectionBegin() const { return anchor_ < caret_ ? anchor_ : caret_; }
  [[nodiscard]] std::size_t SelectionEnd() const { return anchor_ < caret_ ? caret_ : anchor_; }
  [[nodiscard]] bool IsContinued(std::size_t row) const;
  [[nodiscard]] WidgetLogRow Shaped(std::size_t row) const;
  [[nodiscard]] std::size_t LastOf(std::size_t row) const;
  [[nodiscard]] double XOf(std::size_t position) const;
  [[nodiscard]] std::size_t PositionIn(std::size_t row, double x) const;
  [[nodiscard]] std::size_t PositionAt(const QPoint& point) const;
  void DrawRow(QPainter& painter, std::size_t row, int top);

  void UpdateScrollBars();
  void Widen(double width);
  void MoveTo(std::size_t position, Select select);
  void MoveRows(long rows, Select select);
  void MoveCharacter(bool forward, QTextLayout::CursorMode mode, Select select);
  void MoveToEdge(bool end, bool ofAll, Select select);
  void ScrollRows(int rows);
  [[nodiscard]] bool MoveBy(const QKeyEvent& key);
  void ShowCaret();
  void DragTo(const QPoint& point);
  void SearchSlice();

  LogText text_;
  std::size_t anchor_ = 0;
  std::size_t caret_ = 0;
  double wishedX_ = -1;  // where moving up and down aims at; -1: where the caret is
  double widest_ = 0;    // width of the widest row seen so far; the one with the most bytes counts as seen
  QBasicTimer dragTimer_;
  QTimer searchTimer_;
  LogSearch search_;
};

}  // namespace fieldpost
