// Shows a page of the help.
#pragma once

#include <QTextBrowser>

class QHelpEngineCore;

namespace fieldpost {

/// A browser whose pages come from a help book; nothing is ever fetched from elsewhere.
class WidgetHelpPage final : public QTextBrowser {
  Q_OBJECT

 public:
  explicit WidgetHelpPage(QWidget* parent = nullptr) : QTextBrowser(parent) {}

  /// `engine` outlives the pages; without one every page is empty.
  void SetEngine(const QHelpEngineCore* engine) { engine_ = engine; }

  /// Gives the letters the size that they had at first.
  void ZoomToNormal();
  void Zoom(int steps);

  QVariant loadResource(int type, const QUrl& name) override;

 private:
  const QHelpEngineCore* engine_ = nullptr;
  int zoom_ = 0;
};

}  // namespace fieldpost
