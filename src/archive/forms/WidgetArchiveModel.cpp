#include "archive/forms/WidgetArchiveModel.h"

#include <array>
#include <compare>

#include "archive/forms/WidgetArchiveIcons.h"
#include "common/Text.h"
#include "common/forms/WidgetText.h"

namespace fieldpost {
namespace {

std::strong_ordering Compare(const ArchiveRow& left, const ArchiveRow& right, int column) {
  switch (column) {
    case ArchiveColumn::Filename:
      return CompareNoCase(left.name, right.name);
    case ArchiveColumn::Size:
      return left.stamp.size <=> right.stamp.size;
    case ArchiveColumn::Modified:
      return left.stamp.modifiedNanoseconds <=> right.stamp.modifiedNanoseconds;
    default:
      return CompareNoCase(left.mode, right.mode);
  }
}

}  // namespace

WidgetArchiveModel::WidgetArchiveModel(const ArchiveList& list, QObject* parent)
    : QAbstractTableModel(parent), list_(list), fileIcon_(ArchiveIcon(ArchiveSign::File)) {}

void WidgetArchiveModel::ShowRows() {
  beginResetModel();
  shown_ = true;
  endResetModel();
}

void WidgetArchiveModel::HideRows() {
  beginResetModel();
  shown_ = false;
  endResetModel();
}

int WidgetArchiveModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() || !shown_ ? 0 : static_cast<int>(list_.Rows().size());
}

int WidgetArchiveModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : ArchiveColumn::Count;
}

QVariant WidgetArchiveModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  if (role == Qt::DisplayRole) return Text(Row(index.row()), index.column());
  if (role == Qt::DecorationRole && index.column() == ArchiveColumn::Filename) return fileIcon_;
  if (role == Qt::TextAlignmentRole && index.column() == ArchiveColumn::Size) {
    return QVariant(Qt::AlignRight | Qt::AlignVCenter);
  }
  return {};
}

QString WidgetArchiveModel::Text(const ArchiveRow& row, int column) {
  switch (column) {
    case ArchiveColumn::Filename:
      return ToQt(EscapeControls(row.name));
    case ArchiveColumn::Size:
      return ToQt(SizeText(row.stamp.size));
    case ArchiveColumn::Modified:
      return ToQt(ModifiedText(row.stamp));
    default:
      return ToQt(row.mode);
  }
}

QVariant WidgetArchiveModel::headerData(int section, Qt::Orientation orientation, int role) const {
  static const std::array<QString, ArchiveColumn::Count> captions{
      QStringLiteral("Filename"), QStringLiteral("Size"), QStringLiteral("Modified"), QStringLiteral("Mode")};
  if (orientation != Qt::Horizontal || section < 0 || section >= ArchiveColumn::Count) return {};
  if (role == Qt::DisplayRole) return captions.at(static_cast<std::size_t>(section));
  if (role == Qt::TextAlignmentRole) {
    const Qt::Alignment side = section == ArchiveColumn::Size ? Qt::AlignRight : Qt::AlignLeft;
    return QVariant(side | Qt::AlignVCenter);
  }
  return {};
}

WidgetArchiveOrder::WidgetArchiveOrder(WidgetArchiveModel& rows, QObject* parent)
    : QSortFilterProxyModel(parent), rows_(rows) {
  setSourceModel(&rows);
}

bool WidgetArchiveOrder::lessThan(const QModelIndex& left, const QModelIndex& right) const {
  const ArchiveRow& one = rows_.Row(left.row());
  const ArchiveRow& other = rows_.Row(right.row());
  const std::strong_ordering order = Compare(one, other, left.column());
  if (order != std::strong_ordering::equal) return order == std::strong_ordering::less;
  return sortOrder() == Qt::AscendingOrder ? left.row() < right.row() : left.row() > right.row();
}

}  // namespace fieldpost
