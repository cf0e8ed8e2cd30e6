#include "viewer/forms/WidgetLogRow.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPalette>
#include <utility>

namespace fieldpost {

WidgetLogRow::WidgetLogRow(LogRow row, const QFont& font)
    : row_(std::move(row)),
      layout_(QString::fromUtf16(row_.text.data(), static_cast<qsizetype>(row_.text.size())), font) {
  constexpr int tabColumns = 8;
  QTextOption option;
  option.setWrapMode(QTextOption::NoWrap);
  option.setTabStopDistance(tabColumns * QFontMetricsF(font).horizontalAdvance(u' '));
  layout_.setTextOption(option);
  layout_.beginLayout();
  layout_.createLine();
  layout_.endLayout();
}

int WidgetLogRow::UnitAt(std::size_t position) const {
  return static_cast<int>(row_.UnitAt(position));
}

std::size_t WidgetLogRow::PositionOf(int unit) const {
  return row_.offsets[static_cast<std::size_t>(unit)];
}

double WidgetLogRow::XOf(std::size_t position) const {
  return layout_.lineAt(0).cursorToX(UnitAt(position));
}

std::size_t WidgetLogRow::PositionAt(double x) const {
  return PositionOf(layout_.lineAt(0).xToCursor(x));
}

/// One character of the log may be several on the screen.
std::size_t WidgetLogRow::After(std::size_t position, QTextLayout::CursorMode mode) const {
  int unit = UnitAt(position);
  while (unit < layout_.text().size() && PositionOf(unit) == position) {
    unit = layout_.nextCursorPosition(unit, mode);
  }
  return PositionOf(unit);
}

std::size_t WidgetLogRow::Before(std::size_t position, QTextLayout::CursorMode mode) const {
  return PositionOf(layout_.previousCursorPosition(UnitAt(position), mode));
}

bool WidgetLogRow::IsWordAt(std::size_t position) const {
  const QString text = Text();
  const int unit = UnitAt(position);
  return unit < text.size() && (text[unit].isLetterOrNumber() || text[unit] == u'_');
}

QPointF WidgetLogRow::TopLeft(const QPointF& baseline) const {
  return {baseline.x(), baseline.y() - layout_.lineAt(0).ascent()};
}

void WidgetLogRow::Draw(QPainter& painter, const QPointF& baseline, std::size_t selectedFrom,
                        std::size_t selectedTo, const QPalette& palette) const {
  QList<QTextLayout::FormatRange> marks;
  if (selectedFrom < selectedTo) {
    QTextLayout::FormatRange mark{UnitAt(selectedFrom), UnitAt(selectedTo) - UnitAt(selectedFrom), {}};
    mark.format.setBackground(palette.brush(QPalette::Highlight));
    mark.format.setForeground(palette.brush(QPalette::HighlightedText));
    marks.append(mark);
  }
  layout_.draw(&painter, TopLeft(baseline), marks);
}

void WidgetLogRow::DrawCaret(QPainter& painter, const QPointF& baseline, std::size_t position,
                             int width) const {
  layout_.drawCursor(&painter, TopLeft(baseline), UnitAt(position), width);
}

}  // namespace fieldpost
