#include "archive/forms/WidgetArchiveIcons.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QPixmap>

namespace fieldpost {
namespace {

/// The icons are drawn in a square of this many units a side.
constexpr qreal Side = 16;

void DrawFile(QPainter& painter) {
  QPainterPath page;
  page.moveTo(3.5, 1.5);
  page.lineTo(9.5, 1.5);
  page.lineTo(12.5, 4.5);
  page.lineTo(12.5, 14.5);
  page.lineTo(3.5, 14.5);
  page.closeSubpath();
  painter.drawPath(page);
  painter.drawPolyline(QPolygonF({{9.5, 1.5}, {9.5, 4.5}, {12.5, 4.5}}));
  for (const qreal y : {7.5, 9.5, 11.5}) painter.drawLine(QPointF(5.5, y), QPointF(10.5, y));
}

void DrawLargeIcons(QPainter& painter) {
  for (const qreal y : {1.5, 9.5}) {
    for (const qreal x : {1.5, 9.5}) painter.drawRect(QRectF(x, y, 5, 5));
  }
}

void DrawSmallIcons(QPainter& painter) {
  for (const qreal y : {2.5, 7.5, 12.5}) {
    for (const qreal x : {1.5, 9.5}) {
      painter.drawRect(QRectF(x, y - 1, 2, 2));
      painter.drawLine(QPointF(x + 3.5, y), QPointF(x + 5, y));
    }
  }
}

void DrawList(QPainter& painter) {
  for (const qreal y : {2.5, 6.5, 10.5, 14.5}) {
    painter.drawLine(QPointF(1.5, y - 1), QPointF(6.5, y - 1));
    painter.drawLine(QPointF(9.5, y - 1), QPointF(14.5, y - 1));
  }
}

void DrawDetails(QPainter& painter) {
  painter.drawRect(QRectF(1.5, 1.5, 13, 13));
  painter.drawLine(QPointF(1.5, 4.5), QPointF(14.5, 4.5));
  painter.drawLine(QPointF(7.5, 1.5), QPointF(7.5, 14.5));
  for (const qreal y : {7.5, 10.5}) painter.drawLine(QPointF(1.5, y), QPointF(14.5, y));
}

void DrawDelete(QPainter& painter) {
  painter.drawLine(QPointF(2.5, 3.5), QPointF(13.5, 3.5));
  painter.drawPolyline(QPolygonF({{6, 3.5}, {6, 1.5}, {10, 1.5}, {10, 3.5}}));
  painter.drawPolyline(QPolygonF({{3.5, 3.5}, {4.5, 14.5}, {11.5, 14.5}, {12.5, 3.5}}));
  for (const qreal x : {6.5, 9.5}) painter.drawLine(QPointF(x, 6), QPointF(x, 12));
}

void Draw(ArchiveSign sign, QPainter& painter) {
  switch (sign) {
    case ArchiveSign::File:
      return DrawFile(painter);
    case ArchiveSign::LargeIcons:
      return DrawLargeIcons(painter);
    case ArchiveSign::SmallIcons:
      return DrawSmallIcons(painter);
    case ArchiveSign::List:
      return DrawList(painter);
    case ArchiveSign::Details:
      return DrawDetails(painter);
    case ArchiveSign::Delete:
      return DrawDelete(painter);
  }
}

class SignEngine final : public QIconEngine {
 public:
  explicit SignEngine(ArchiveSign sign) : sign_(sign) {}

  [[nodiscard]] QIconEngine* clone() const override { return new SignEngine(sign_); }

  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
    const QPalette palette = QGuiApplication::palette();
    const auto group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->translate(rect.topLeft());
    painter->scale(rect.width() / Side, rect.height() / Side);
    painter->setPen(QPen(palette.color(group, QPalette::Text), 1));
    if (sign_ == ArchiveSign::File) painter->setBrush(palette.color(group, QPalette::Base));
    Draw(sign_, *painter);
    painter->restore();
  }

  [[nodiscard]] QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
    QPixmap result(size);
    result.fill(Qt::transparent);
    QPainter painter(&result);
    paint(&painter, QRect(QPoint(), size), mode, state);
    return result;
  }

 private:
  ArchiveSign sign_;
};

}  // namespace

QIcon ArchiveIcon(ArchiveSign sign) {
  return QIcon(new SignEngine(sign));
}

}  // namespace fieldpost
