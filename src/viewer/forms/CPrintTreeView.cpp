#include "viewer/forms/CPrintTreeView.h"

#include <QFontInfo>
#include <QFontMetricsF>
#include <QPagedPaintDevice>
#include <QPainter>

#include "viewer/TreePrintLayout.h"

namespace fieldpost {
namespace {

constexpr double TwipsAnInch = 1440;
constexpr double TwipsAPoint = 20;
constexpr double LineWidth = 5;  // twips: thin, but visible on any printer

/// Converts the size of a font to twips, for a painter whose unit is the twip.
QFont FontInTwips(const QFont& font) {
  QFont result(font);
  result.setPixelSize(qMax(1, qRound(QFontInfo(font).pointSizeF() * TwipsAPoint)));
  return result;
}

PrintMeasures MeasuresFor(const QPagedPaintDevice& printer, const PrintableTree& tree) {
  const QSizeF dots = tree.ScreenDots();
  return {.pageWidth = printer.width() * TwipsAnInch / printer.logicalDpiX(),
          .pageHeight = printer.height() * TwipsAnInch / printer.logicalDpiY(),
          .indentation = tree.PrintedIndentation(),
          .screenPixelX = TwipsAnInch / dots.width(),
          .screenPixelY = TwipsAnInch / dots.height()};
}

void DrawLine(QPainter& painter, const PrintedLine& line) {
  painter.drawLine(QPointF(line.x1, line.y1), QPointF(line.x2, line.y2));
}

void DrawNode(QPainter& painter, const PrintedNode& node, const QString& label, double ascent) {
  if (node.horizontal) DrawLine(painter, *node.horizontal);
  for (const PrintedLine& line : node.verticals) DrawLine(painter, line);
  painter.drawText(QPointF(node.labelX, node.labelY + ascent), label);
}

}  // namespace

bool CPrintTreeView::PrintControl() {
  const int rows = control_ == nullptr ? 0 : control_->PrintedRows();
  QPainter painter;
  if (rows == 0 || !painter.begin(&printer_)) return false;
  painter.scale(printer_.logicalDpiX() / TwipsAnInch, printer_.logicalDpiY() / TwipsAnInch);
  painter.setFont(FontInTwips(control_->PrintedFont()));
  painter.setPen(QPen(Qt::black, LineWidth));
  const QFontMetricsF text(painter.font());
  const PrintMeasures measures = MeasuresFor(printer_, *control_);
  TreePrintLayout layout(measures);
  std::size_t page = 0;
  for (int row = 0; row < rows; ++row) {
    const PrintableTree::Row one = control_->PrintedRow(row);
    const PrintedNode node = layout.Place(one.level, one.hasNextSibling, text.height());
    if (node.page != page) {
      Q_EMIT BeforeNewPage();
      if (!printer_.newPage()) return false;
    }
    page = node.page;
    if (node.labelX <= measures.pageWidth) DrawNode(painter, node, one.label, text.ascent());
    if (progress_ && !progress_(row + 1, rows)) return false;
  }
  return painter.end();
}

}  // namespace fieldpost
