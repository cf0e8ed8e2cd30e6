// Stores sizes of windows and columns between runs of the program.
#pragma once

#include <QSettings>
#include <filesystem>

class QHeaderView;
class QMdiSubWindow;
class QWidget;

namespace fieldpost {

/// The settings in "Windows.ini" in the program's own folder, by the object names of the windows. When the
/// file cannot be read or written, the windows have their default sizes.
class WidgetMemory {
 public:
  /// `ownFolder` is the program's own folder.
  explicit WidgetMemory(const std::filesystem::path& ownFolder);

  /// Restores the size and position of a window. Where none is stored, a window that is larger than the
  /// screen is made smaller.
  void RestoreGeometry(QWidget& window);
  /// Stores the size and position of a window.
  void SaveGeometry(const QWidget& window);

  /// Restores the geometry of a visible child window of a multiple-document frame, by the object name of the
  /// form in it. The child is moved and resized so that it is inside the frame.
  void RestoreChild(QMdiSubWindow& child);
  /// Stores the geometry of a child window, and whether it is maximised.
  void SaveChild(const QMdiSubWindow& child);

  /// Restores the widths and the order of a list's columns; `owner` is the window of the list.
  void RestoreColumns(const QWidget& owner, QHeaderView& columns);
  /// Stores the widths and the order of a list's columns; `owner` is the window of the list.
  void SaveColumns(const QWidget& owner, const QHeaderView& columns);

  /// Returns another setting of a window, e.g. the view of a list; empty when it is not stored.
  [[nodiscard]] QString Text(const QWidget& owner, const QString& name) const;
  /// Stores another setting of a window.
  void SaveText(const QWidget& owner, const QString& name, const QString& text);

 private:
  QSettings file_;
};

}  // namespace fieldpost
