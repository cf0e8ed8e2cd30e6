#include "options/forms/WidgetFolderList.h"

#include "common/PathText.h"
#include "common/forms/WidgetText.h"

namespace fieldpost {
namespace {

/// The role of the bytes of a path, because the name of a folder need not be UTF-8.
constexpr int PathRole = Qt::UserRole;

}  // namespace

void WidgetFolderList::Show(const PathList& folders) {
  clear();
  for (const std::filesystem::path& folder : folders) Append(Utf8FromPath(folder));
}

PathList WidgetFolderList::Folders() const {
  PathList folders;
  for (int row = 0; row < topLevelItemCount(); ++row) {
    const QByteArray bytes = topLevelItem(row)->data(0, PathRole).toByteArray();
    folders.push_back(PathFromUtf8(bytes.toStdString()));
  }
  return folders;
}

void WidgetFolderList::Add(const std::string& folder) {
  const QList<QTreeWidgetItem*> same = findItems(ToQt(folder), Qt::MatchFixedString | Qt::MatchCaseSensitive);
  if (same.isEmpty()) Append(folder);
  Select(same.isEmpty() ? topLevelItem(topLevelItemCount() - 1) : same.constFirst());
}

void WidgetFolderList::Select(int row) {
  Select(topLevelItem(row));
}

void WidgetFolderList::DeleteSelected() {
  qDeleteAll(selectedItems());
  if (QTreeWidgetItem* const next = currentItem()) Select(next);
}

void WidgetFolderList::Append(const std::string& folder) {
  auto* const row = new QTreeWidgetItem(this, {ToQt(folder)});
  row->setData(0, PathRole, QByteArray::fromStdString(folder));
}

void WidgetFolderList::Select(QTreeWidgetItem* row) {
  setCurrentItem(row, 0, QItemSelectionModel::ClearAndSelect);
  scrollToItem(row);
}

}  // namespace fieldpost
