// Stores sizes of windows and columns between starts.
#pragma once

#include <QSettings>
#include <filesystem>

class QHeaderView;
class QMdiSubWindow;
class QWidget;

namespace fieldpost {

/// Stores geometries in "Windows.ini" in the program's own folder, under the object name of the window. When
/// the file is unreadable or cannot be written, windows open in their default sizes.
class WidgetMemory {
 public:
  /// `ownFolder` is the program's own folder.
  explicit WidgetMemory(const std::filesystem::path& ownFolder);

  /// Restores size and place of a top-level window. Without a stored geometry, shrinks the window to fit the
  /// screen.
  void RestoreGeometry(QWidget& window);

  /// Stores size and place of a top-level window.
  void SaveGeometry(const QWidget& window);

  /// Restores size and place of a visible child window of a multiple-document frame, stored under the object
  /// name of the form in it. Afterwards the child is wholly inside the frame.
  void RestoreChild(QMdiSubWindow& child);

  /// Stores size and place of a child window, and whether it is maximised.
  void SaveChild(const QMdiSubWindow& child);

  /// Restores widths and order of the columns of a list in the window `owner`.
  void RestoreColumns(const QWidget& owner, QHeaderView& columns);

  /// Stores widths and order of the columns of a list in the window `owner`.
  void SaveColumns(const QWidget& owner, const QHeaderView& columns);

  /// Returns a text that the window `owner` stored under `name`, such as the view of a list; empty without
  /// one.
  [[nodiscard]] QString Text(const QWidget& owner, const QString& name) const;

  /// Stores a text of the window `owner` under `name`.
  void SaveText(const QWidget& owner, const QString& name, const QString& text);

 private:
  QSettings file_;
};

}  // namespace fieldpost
