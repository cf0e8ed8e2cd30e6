#include "shell/forms/WidgetHelpPage.h"

#include <QHelpEngineCore>
#include <algorithm>

namespace fieldpost {

QVariant WidgetHelpPage::loadResource(int, const QUrl& name) {
  if (engine_ == nullptr || name.scheme() != QLatin1String("qthelp")) return {};
  return engine_->fileData(name);
}

void WidgetHelpPage::Zoom(int steps) {
  constexpr int least = -4;
  constexpr int most = 20;
  const int wanted = std::clamp(zoom_ + steps, least, most);
  zoomIn(wanted - zoom_);
  zoom_ = wanted;
}

void WidgetHelpPage::ZoomToNormal() {
  Zoom(-zoom_);
}

}  // namespace fieldpost
