// The list of Latest folders.
#pragma once

#include <QTreeWidget>
#include <string>

#include "common/RunLists.h"

namespace fieldpost {

/// A list of folders, one in each row, that the user cannot edit. A folder whose name is not UTF-8 keeps its
/// bytes, whatever its row shows.
class WidgetFolderList final : public QTreeWidget {
  Q_OBJECT

 public:
  using QTreeWidget::QTreeWidget;

  /// Replaces all rows by these folders.
  void Show(const PathList& folders);

  /// Returns the folders of all rows, in their order.
  [[nodiscard]] PathList Folders() const;

  /// Appends a folder and selects its row. A folder that is in the list already is only selected.
  void Add(const std::string& folder);

  /// Selects only this row, counted from 0, and scrolls to it.
  void Select(int row);

  /// Removes the selected rows, and selects the row that becomes the current one.
  void DeleteSelected();

 private:
  void Append(const std::string& folder);
  void Select(QTreeWidgetItem* row);
};

}  // namespace fieldpost
