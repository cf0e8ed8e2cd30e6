// The bar in which a viewer is asked for a text, and says what came of it.
#pragma once

#include <QString>
#include <QWidget>
#include <memory>

#include "viewer/SearchDirection.h"

namespace Ui {
class WidgetFindBar;
}

namespace fieldpost {

/// A line of controls at a viewer's lower edge, hidden until it is opened. Enter looks on, Shift+Enter looks
/// back, Esc closes it.
class WidgetFindBar final : public QWidget {
  Q_OBJECT

 public:
  explicit WidgetFindBar(QWidget* parent = nullptr);
  WidgetFindBar(const WidgetFindBar&) = delete;
  WidgetFindBar& operator=(const WidgetFindBar&) = delete;
  ~WidgetFindBar() override;

  /// Shows it for typing. `proposed` becomes the text that is looked for, unless it is empty.
  void Open(const QString& proposed = {});

  /// What is looked for.
  [[nodiscard]] QString Text() const;

  /// Shows what came of the search, or nothing.
  void Tell(const QString& outcome);

 Q_SIGNALS:
  /// The text is to be looked for. `stay`: the match at hand will do, as while the text is being typed.
  void FindWanted(SearchDirection direction, bool stay);

  /// It was closed, and is hidden already.
  void Closed();

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void Close();

  std::unique_ptr<Ui::WidgetFindBar> ui_;
};

}  // namespace fieldpost
