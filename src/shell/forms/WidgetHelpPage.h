// The page view of the help window.
#pragma once

#include <QTextBrowser>

class QHelpEngineCore;

namespace fieldpost {

/// A text browser that loads its pages from the help book, and nothing from elsewhere.
class WidgetHelpPage final : public QTextBrowser {
  Q_OBJECT

 public:
  explicit WidgetHelpPage(QWidget* parent = nullptr) : QTextBrowser(parent) {}

  /// Sets the engine that reads the book, which outlives the view; with a null engine every page is empty.
  void SetEngine(const QHelpEngineCore* engine) { engine_ = engine; }

  /// Resets the size of the letters.
  void ZoomToNormal();

  /// Enlarges the letters by some steps, or shrinks them by negative steps.
  void Zoom(int steps);

  QVariant loadResource(int type, const QUrl& name) override;

 private:
  const QHelpEngineCore* engine_ = nullptr;
  int zoom_ = 0;
};

}  // namespace fieldpost
