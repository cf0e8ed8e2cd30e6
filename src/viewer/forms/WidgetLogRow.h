// One row of a log, laid out for the screen.
#pragma once

#include <QPointF>
#include <QTextLayout>

#include "viewer/LogText.h"

class QFont;
class QPainter;
class QPalette;

namespace fieldpost {

/// A row's letters and where they stand. Positions are bytes from the row's start, x is from its left edge.
class WidgetLogRow {
 public:
  WidgetLogRow(LogRow row, const QFont& font);

  [[nodiscard]] QString Text() const { return layout_.text(); }
  [[nodiscard]] double Width() const { return layout_.lineAt(0).naturalTextWidth(); }
  [[nodiscard]] double XOf(std::size_t position) const;
  [[nodiscard]] std::size_t PositionAt(double x) const;

  /// The position one character (or word) on or back; the same one at the row's end or start.
  [[nodiscard]] std::size_t After(std::size_t position, QTextLayout::CursorMode mode) const;
  [[nodiscard]] std::size_t Before(std::size_t position, QTextLayout::CursorMode mode) const;

  /// Whether the character at a position is part of a word.
  [[nodiscard]] bool IsWordAt(std::size_t position) const;

  /// Draws the row from `baseline` on, and what lies between two positions as selected, in these colours.
  void Draw(QPainter& painter, const QPointF& baseline, std::size_t selectedFrom, std::size_t selectedTo,
            const QPalette& palette) const;
  void DrawCaret(QPainter& painter, const QPointF& baseline, std::size_t position, int width) const;

 private:
  [[nodiscard]] int UnitAt(std::size_t position) const;
  [[nodiscard]] std::size_t PositionOf(int unit) const;
  [[nodiscard]] QPointF TopLeft(const QPointF& baseline) const;

  LogRow row_;
  QTextLayout layout_;
};

}  // namespace fieldpost
