#include "shell/forms/WidgetProgramIcon.h"

#include <QPainter>
#include <QPixmap>

namespace fieldpost {
namespace {

/// The icon is drawn in a square of this many units a side.
constexpr qreal Side = 32;

QPixmap Draw(int pixels) {
  QPixmap pixmap(pixels, pixels);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.scale(pixels / Side, pixels / Side);
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(0x1F, 0x5F, 0x8B));
  painter.drawRoundedRect(QRectF(1, 1, 30, 30), 6, 6);
  painter.setPen(QPen(QColor(0x1F, 0x5F, 0x8B), 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.setBrush(Qt::white);
  painter.drawRect(QRectF(5, 9, 22, 15));
  painter.setBrush(Qt::NoBrush);
  painter.drawPolyline(QPolygonF({{6, 10}, {16, 18}, {26, 10}}));
  return pixmap;
}

}  // namespace

QIcon ProgramIcon() {
  QIcon icon;
  for (const int pixels : {16, 24, 32, 48, 64, 128}) icon.addPixmap(Draw(pixels));
  return icon;
}

}  // namespace fieldpost
