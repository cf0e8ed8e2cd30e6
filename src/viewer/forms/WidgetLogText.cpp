#include "viewer/forms/WidgetLogText.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QScrollBar>
#include <QStyle>
#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "common/forms/WidgetText.h"
#include "viewer/forms/WidgetLogTextAccess.h"

namespace fieldpost {
namespace {

constexpr int Margin = 4;

QString WithLineFeeds(std::string_view bytes) {
  return ToQt(bytes).replace(QLatin1String("\r\n"), QLatin1String("\n")).replace(u'\r', u'\n');
}

/// The ways in which each character of a text may be written: as it stands, in lower and in upper case.
LogSearch::Pattern PatternOf(const QString& what) {
  LogSearch::Pattern pattern;
  for (const char32_t codePoint : what.toStdU32String()) {
    const QString character = QString::fromUcs4(&codePoint, 1);
    std::vector<std::string> ways{FromQt(character)};
    for (const QString& other : {character.toLower(), character.toUpper()}) {
      if (FromQt(other) != ways.front()) ways.push_back(FromQt(other));
    }
    pattern.push_back(std::move(ways));
  }
  return pattern;
}

int ToInt(std::size_t value) {
  return static_cast<int>(std::min<std::size_t>(value, std::numeric_limits<int>::max()));
}

}  // namespace

WidgetLogText::WidgetLogText(QWidget* parent) : QAbstractScrollArea(parent) {
  InstallLogTextAccess();
  setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  setFocusPolicy(Qt::StrongFocus);
  viewport()->setCursor(Qt::IBeamCursor);
  searchTimer_.setInterval(0);
  connect(&searchTimer_, &QTimer::timeout, this, &WidgetLogText::SearchSlice);
  UpdateScrollBars();
}

void WidgetLogText::SetText(std::string bytes) {
  searchTimer_.stop();
  text_ = LogText(std::move(bytes));
  anchor_ = caret_ = 0;
  widest_ = Shaped(text_.LongestRow()).Width();
  UpdateScrollBars();
  verticalScrollBar()->setValue(0);
  horizontalScrollBar()->setValue(0);
  viewport()->update();
}

QString WidgetLogText::SelectedText() const {
  return WithLineFeeds(text_.Bytes().substr(SelectionBegin(), SelectionEnd() - SelectionBegin()));
}

QString WidgetLogText::VisibleText() const {
  QString result;
  const std::size_t end = std::min(text_.Rows(), FirstRow() + static_cast<std::size_t>(VisibleRows()));
  for (std::size_t row = FirstRow(); row < end; ++row) {
    if (!result.isEmpty()) result += u'\n';
    result += Shaped(row).Text();
  }
  return result;
}

void WidgetLogText::Copy() const {
  if (anchor_ != caret_) QApplication::clipboard()->setText(SelectedText());
}

void WidgetLogText::SelectAll() {
  anchor_ = 0;
  caret_ = text_.Bytes().size();
  wishedX_ = -1;
  viewport()->update();
}

// --- rows on the screen

int WidgetLogText::RowHeight() const {
  return std::max(fontMetrics().lineSpacing(), 1);
}

int WidgetLogText::VisibleRows() const {
  return std::max((viewport()->height() - Margin) / RowHeight(), 1);
}

std::size_t WidgetLogText::FirstRow() const {
  return static_cast<std::size_t>(verticalScrollBar()->value());
}

/// Whether the row's line goes on in the next row.
bool WidgetLogText::IsContinued(std::size_t row) const {
  return row + 1 < text_.Rows() && text_.RowEnd(row) == text_.RowStart(row + 1);
}

WidgetLogRow WidgetLogText::Shaped(std::size_t row) const {
  return {text_.Row(row), font()};
}

double WidgetLogText::XOf(std::size_t position) const {
  const std::size_t row = text_.RowAt(position);
  return Shaped(row).XOf(position - text_.RowStart(row));
}

std::size_t WidgetLogText::PositionIn(std::size_t row, double x) const {
  const WidgetLogRow shaped = Shaped(row);
  const std::size_t position = text_.RowStart(row) + shaped.PositionAt(x);
  return std::min(position, LastOf(row));
}

/// The last place for the caret in a row. Where the line goes on, the row's end is the next one's beginning.
std::size_t WidgetLogText::LastOf(std::size_t row) const {
  const std::size_t end = text_.RowEnd(row);
  if (!IsContinued(row)) return end;
  const std::size_t start = text_.RowStart(row);
  return start + Shaped(row).Before(end - start, QTextLayout::SkipCharacters);
}

std::size_t WidgetLogText::PositionAt(const QPoint& point) const {
  const long below = std::lround(std::floor(double(point.y() - Margin) / RowHeight()));
  const long row = std::clamp(static_cast<long>(FirstRow()) + below, 0L, static_cast<long>(text_.Rows()) - 1);
  return PositionIn(static_cast<std::size_t>(row), point.x() - Margin + horizontalScrollBar()->value());
}

void WidgetLogText::paintEvent(QPaintEvent* event) {
  QPainter painter(viewport());
  painter.setPen(palette().color(QPalette::Text));
  int top = Margin;
  for (std::size_t row = FirstRow(); row < text_.Rows() && top <= event->rect().bottom(); ++row) {
    if (top + RowHeight() >= event->rect().top()) DrawRow(painter, row, top);
    top += RowHeight();
  }
}

void WidgetLogText::DrawRow(QPainter& painter, std::size_t row, int top) {
  const std::size_t start = text_.RowStart(row);
  const std::size_t end = text_.RowEnd(row);
  const WidgetLogRow shaped = Shaped(row);
  Widen(shaped.Width());
  const QPointF baseline(Margin - horizontalScrollBar()->value(), top + fontMetrics().ascent());
  const std::size_t from = std::clamp(SelectionBegin(), start, end);
  const std::size_t to = std::clamp(SelectionEnd(), start, end);
  shaped.Draw(painter, baseline, from - start, to - start, palette());
  if (SelectionBegin() <= end && SelectionEnd() > end && !IsContinued(row)) {  // its line end is selected too
    const QRectF lineEnd(baseline.x() + shaped.Width(), top, fontMetrics().horizontalAdvance(u' '),
                         RowHeight());
    painter.fillRect(lineEnd, palette().brush(QPalette::Highlight));
  }
  if (hasFocus() && text_.RowAt(caret_) == row) {
    shaped.DrawCaret(painter, baseline, caret_ - start,
                     std::max(style()->pixelMetric(QStyle::PM_TextCursorWidth), 2));
  }
}

void WidgetLogText::UpdateScrollBars() {
  const int page = VisibleRows();
  verticalScrollBar()->setPageStep(page);
  verticalScrollBar()->setSingleStep(1);
  verticalScrollBar()->setRange(0, std::max(ToInt(text_.Rows()) - page, 0));
  const int width = static_cast<int>(std::ceil(widest_)) + 3 * Margin;
  horizontalScrollBar()->setPageStep(viewport()->width());
  horizontalScrollBar()->setSingleStep(4 * fontMetrics().averageCharWidth());
  horizontalScrollBar()->setRange(0, std::max(width - viewport()->width(), 0));
}

/// The row with the most bytes need not be the widest: tabs and wide letters show only when they are drawn.
void WidgetLogText::Widen(double width) {
  if (width <= widest_) return;
  widest_ = width;
  QMetaObject::invokeMethod(this, &WidgetLogText::UpdateScrollBars, Qt::QueuedConnection);
}

void WidgetLogText::resizeEvent(QResizeEvent* event) {
  QAbstractScrollArea::resizeEvent(event);
  UpdateScrollBars();
}

void WidgetLogText::changeEvent(QEvent* event) {
  QAbstractScrollArea::changeEvent(event);
  if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) UpdateScrollBars();
}

void WidgetLogText::focusInEvent(QFocusEvent* event) {
  QAbstractScrollArea::focusInEvent(event);
  viewport()->update();
}

void WidgetLogText::focusOutEvent(QFocusEvent* event) {
  QAbstractScrollArea::focusOutEvent(event);
  viewport()->update();
}

// --- the caret

void WidgetLogText::MoveTo(std::size_t position, Select select) {
  caret_ = position;
  if (select == Select::No) anchor_ = position;
  ShowCaret();
  viewport()->update();
  TellLogTextMoved(*this);
}

void WidgetLogText::ShowCaret() {
  const int row = ToInt(text_.RowAt(caret_));
  QScrollBar& rows = *verticalScrollBar();
  if (row < rows.value()) rows.setValue(row);
  if (row >= rows.value() + VisibleRows()) rows.setValue(row - VisibleRows() + 1);
  const int x = static_cast<int>(XOf(caret_));
  const int room = 4 * fontMetrics().averageCharWidth();
  Widen(x);
  QScrollBar& columns = *horizontalScrollBar();
  if (x - room < columns.value()) columns.setValue(std::max(x - room, 0));
  if (x + room > columns.value() + viewport()->width()) columns.setValue(x + room - viewport()->width());
}

void WidgetLogText::MoveRows(long rows, Select select) {
  if (wishedX_ < 0) wishedX_ = XOf(caret_);
  const long last = static_cast<long>(text_.Rows()) - 1;
  const long row = std::clamp(static_cast<long>(text_.RowAt(caret_)) + rows, 0L, last);
  MoveTo(PositionIn(static_cast<std::size_t>(row), wishedX_), select);
}

void WidgetLogText::MoveCharacter(bool forward, QTextLayout::CursorMode mode, Select select) {
  wishedX_ = -1;
  const std::size_t row = text_.RowAt(caret_);
  const std::size_t start = text_.RowStart(row);
  if (forward && caret_ == text_.RowEnd(row)) {
    return MoveTo(row + 1 < text_.Rows() ? text_.RowStart(row + 1) : caret_, select);
  }
  if (!forward && caret_ == start) return MoveTo(row > 0 ? LastOf(row - 1) : caret_, select);
  const WidgetLogRow shaped = Shaped(row);
  const std::size_t at = caret_ - start;
  MoveTo(start + (forward ? shaped.After(at, mode) : shaped.Before(at, mode)), select);
}

void WidgetLogText::MoveToEdge(bool end, bool ofAll, Select select) {
  wishedX_ = -1;
  if (ofAll) return MoveTo(end ? text_.Bytes().size() : 0, select);
  const std::size_t row = text_.RowAt(caret_);
  MoveTo(end ? LastOf(row) : text_.RowStart(row), select);
}

void WidgetLogText::ScrollRows(int rows) {
  verticalScrollBar()->setValue(verticalScrollBar()->value() + rows);
}

bool WidgetLogText::MoveBy(const QKeyEvent& key) {
  const Select select = key.modifiers() & Qt::ShiftModifier ? Select::Yes : Select::No;
  const bool control = key.modifiers() & Qt::ControlModifier;
  switch (key.key()) {
    case Qt::Key_Left:
    case Qt::Key_Right:
      MoveCharacter(key.key() == Qt::Key_Right,
                    control ? QTextLayout::SkipWords : QTextLayout::SkipCharacters, select);
      return true;
    case Qt::Key_Up:
    case Qt::Key_Down: {
      const int step = key.key() == Qt::Key_Up ? -1 : 1;
      control ? ScrollRows(step) : MoveRows(step, select);
      return true;
    }
    case Qt::Key_PageUp:
    case Qt::Key_PageDown: {
      const int step = key.key() == Qt::Key_PageUp ? -VisibleRows() : VisibleRows();
      ScrollRows(step);
      MoveRows(step, select);
      return true;
    }
    case Qt::Key_Home:
    case Qt::Key_End:
      MoveToEdge(key.key() == Qt::Key_End, control, select);
      return true;
    default:
      return false;
  }
}

void WidgetLogText::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Copy)) return Copy();
  if (event->matches(QKeySequence::SelectAll)) return SelectAll();
  if (event->modifiers() & (Qt::AltModifier | Qt::MetaModifier) || !MoveBy(*event)) {
    QAbstractScrollArea::keyPressEvent(event);
  }
}

// --- the mouse

void WidgetLogText::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return event->ignore();
  wishedX_ = -1;
  const bool shift = event->modifiers() & Qt::ShiftModifier;
  MoveTo(PositionAt(event->position().toPoint()), shift ? Select::Yes : Select::No);
}

void WidgetLogText::mouseMoveEvent(QMouseEvent* event) {
  if (!(event->buttons() & Qt::LeftButton)) return event->ignore();
  constexpr int scrollMilliseconds = 50;
  const QPoint point = event->position().toPoint();
  if (viewport()->rect().contains(point)) {
    dragTimer_.stop();
  } else if (!dragTimer_.isActive()) {
    dragTimer_.start(scrollMilliseconds, this);
  }
  DragTo(point);
}

void WidgetLogText::DragTo(const QPoint& point) {
  wishedX_ = -1;
  MoveTo(PositionAt(point), Select::Yes);
}

void WidgetLogText::timerEvent(QTimerEvent* event) {
  if (event->timerId() != dragTimer_.timerId()) return QAbstractScrollArea::timerEvent(event);
  DragTo(viewport()->mapFromGlobal(QCursor::pos()));
}

void WidgetLogText::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return event->ignore();
  dragTimer_.stop();
  QClipboard& clipboard = *QApplication::clipboard();
  if (clipboard.supportsSelection() && anchor_ != caret_) {
    clipboard.setText(SelectedText(), QClipboard::Selection);
  }
}

void WidgetLogText::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return event->ignore();
  MoveTo(PositionAt(event->position().toPoint()), Select::No);
  const std::size_t row = text_.RowAt(caret_);
  const std::size_t start = text_.RowStart(row);
  const WidgetLogRow shaped = Shaped(row);
  constexpr auto character = QTextLayout::SkipCharacters;
  std::size_t from = caret_ - start;
  std::size_t to = from;
  while (from > 0 && shaped.IsWordAt(shaped.Before(from, character))) from = shaped.Before(from, character);
  while (shaped.IsWordAt(to)) to = shaped.After(to, character);
  anchor_ = start + from;
  MoveTo(start + to, Select::Yes);
}

void WidgetLogText::contextMenuEvent(QContextMenuEvent* event) {
  QMenu menu(this);
  QAction& copy = *menu.addAction(tr("&Copy"), QKeySequence(QKeySequence::Copy), this, &WidgetLogText::Copy);
  copy.setEnabled(anchor_ != caret_);
  menu.addAction(tr("Select &All"), QKeySequence(QKeySequence::SelectAll), this, &WidgetLogText::SelectAll);
  menu.exec(event->globalPos());
}

// --- searching

void WidgetLogText::Find(const QString& what, SearchDirection direction, bool stay) {
  const bool after = direction == SearchDirection::Forward && !stay;
  search_ = LogSearch(text_.Bytes(), PatternOf(what), after ? SelectionEnd() : SelectionBegin(), direction);
  searchTimer_.start();
}

void WidgetLogText::SearchSlice() {
  const SearchState state = search_.Step();
  if (state == SearchState::Running) return;
  searchTimer_.stop();
  if (state == SearchState::Found) {
    wishedX_ = -1;
    anchor_ = search_.Begin();
    MoveTo(search_.End(), Select::Yes);
  }
  Q_EMIT FindEnded(state == SearchState::Found);
}

}  // namespace fieldpost
