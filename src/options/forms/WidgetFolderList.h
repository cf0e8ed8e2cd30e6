// A list of folders, one a row.
#pragma once

#include <QTreeWidget>
#include <string>

#include "common/RunLists.h"

namespace fieldpost {

/// Rows may be selected and taken out; the person at the screen does not edit them. A folder whose name is no
/// UTF-8 stays what it is, whatever its row shows.
class WidgetFolderList final : public QTreeWidget {
  Q_OBJECT

 public:
  using QTreeWidget::QTreeWidget;

  /// Shows these folders instead of those before.
  void Show(const PathList& folders);

  /// The folders of all rows, in their order.
  [[nodiscard]] PathList Folders() const;

  /// Appends a folder and selects its row; one that is in the list already is only selected.
  void Add(const std::string& folder);

  /// Selects a row alone, and makes it visible.
  void Select(int row);

  /// Takes the selected rows out, and selects the one that is there next.
  void DeleteSelected();

 private:
  void Append(const std::string& folder);
  void Select(QTreeWidgetItem* row);
};

}  // namespace fieldpost
