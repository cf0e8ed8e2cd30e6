// The find bar of the viewers.
#pragma once

#include <QString>
#include <QWidget>
#include <memory>

#include "viewer/SearchDirection.h"

namespace Ui {
class WidgetFindBar;
}

namespace fieldpost {

/// A line of controls at a viewer's lower edge, in which the user types the text to find and reads the
/// result. It is hidden until it is opened. Enter requests the next match, Shift+Enter the previous one, Esc
/// closes.
class WidgetFindBar final : public QWidget {
  Q_OBJECT

 public:
  explicit WidgetFindBar(QWidget* parent = nullptr);
  WidgetFindBar(const WidgetFindBar&) = delete;
  WidgetFindBar& operator=(const WidgetFindBar&) = delete;
  ~WidgetFindBar() override;

  /// Shows the bar, ready for typing. `proposed` replaces the text to find, unless it is empty.
  void Open(const QString& proposed = {});

  /// The text to find.
  [[nodiscard]] QString Text() const;

  /// Shows the result of a search beside the buttons; an empty text clears it.
  void ShowResult(const QString& result);

 Q_SIGNALS:
  /// The user requests a search. With `mayStay`, as while the text is being typed, the match that is selected
  /// already may be the result.
  void FindRequested(SearchDirection direction, bool mayStay);

  /// The user has closed the bar; it is hidden.
  void Closed();

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void Close();

  std::unique_ptr<Ui::WidgetFindBar> ui_;
};

}  // namespace fieldpost
