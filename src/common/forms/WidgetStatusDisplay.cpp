#include "common/forms/WidgetStatusDisplay.h"

#include <QCoreApplication>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <algorithm>
#include <limits>
#include <utility>

#include "common/forms/WidgetText.h"

namespace fieldpost {
namespace {

constexpr int EventTurnMilliseconds = 50;

int BarValue(std::size_t value) {
  return static_cast<int>(std::min<std::size_t>(value, std::numeric_limits<int>::max()));
}

}  // namespace

WidgetStatusDisplay::WidgetStatusDisplay() {
  sinceEvents_.start();
  soon_.setSingleShot(true);
  soon_.setInterval(EventTurnMilliseconds);
  QObject::connect(&soon_, &QTimer::timeout, &soon_, [this] { ShowNow(); });
}

void WidgetStatusDisplay::ShowIn(StatusWidgets widgets) {
  ShowNow();
  widgets_ = std::move(widgets);
}

void WidgetStatusDisplay::ShowStatusLine(std::string_view text) {
  if (widgets_.lines) widgets_.lines->appendPlainText(ToQt(text));
}

void WidgetStatusDisplay::SetStep(std::string_view text) {
  if (widgets_.step) widgets_.step->setText(ToQt(text));
}

void WidgetStatusDisplay::SetLabel(std::string_view text) {
  label_ = text;
  labelChanged_ = true;
  ShowSoon();
}

void WidgetStatusDisplay::SetRange(std::size_t steps) {
  positionChanged_ = false;
  if (!widgets_.bar) return;
  widgets_.bar->setRange(0, BarValue(std::max<std::size_t>(steps, 1)));
  widgets_.bar->setValue(0);
}

void WidgetStatusDisplay::SetPosition(std::size_t done) {
  position_ = done;
  positionChanged_ = true;
  ShowSoon();
}

void WidgetStatusDisplay::ProcessEvents() {
  if (sinceEvents_.elapsed() < EventTurnMilliseconds) return;
  ShowNow();
  QCoreApplication::processEvents();
  sinceEvents_.restart();
}

void WidgetStatusDisplay::ShowSoon() {
  if (!soon_.isActive()) soon_.start();
}

void WidgetStatusDisplay::ShowNow() {
  if (std::exchange(labelChanged_, false) && widgets_.label) widgets_.label->setText(ToQt(label_));
  if (std::exchange(positionChanged_, false) && widgets_.bar) widgets_.bar->setValue(BarValue(position_));
}

}  // namespace fieldpost
