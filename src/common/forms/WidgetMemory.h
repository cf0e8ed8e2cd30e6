// Keeps sizes of windows and columns between starts.
#pragma once

#include <QSettings>
#include <filesystem>

class QHeaderView;
class QMdiSubWindow;
class QWidget;

namespace fieldpost {

/// "Windows.ini" in the program's own folder. What is kept goes by the object name of the window. A file that
/// cannot be read or written costs nothing but the sizes.
class WidgetMemory {
 public:
  /// `ownFolder` is the program's own folder.
  explicit WidgetMemory(const std::filesystem::path& ownFolder);

  /// Gives a window, or the frame of a child window, the size and place that it had; where nothing is kept,
  /// it only becomes as small as the screen wants it.
  void RestoreGeometry(QWidget& window);
  void SaveGeometry(const QWidget& window);

  /// The same for a child window, shown already, of a multiple-document frame; it goes by the object name of
  /// the form in it. Wherever it was, it is wholly inside the frame then.
  void RestoreChild(QMdiSubWindow& child);
  void SaveChild(const QMdiSubWindow& child);

  /// The same for the widths and the order of a list's columns; `owner` is the window that the list is in.
  void RestoreColumns(const QWidget& owner, QHeaderView& columns);
  void SaveColumns(const QWidget& owner, const QHeaderView& columns);

  /// Any other thing that a window wants to find again, such as the view of a list.
  [[nodiscard]] QString Text(const QWidget& owner, const QString& name) const;
  void SaveText(const QWidget& owner, const QString& name, const QString& text);

 private:
  QSettings file_;
};

}  // namespace fieldpost
