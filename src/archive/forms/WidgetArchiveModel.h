// The archive list as its views see it: the rows, and the order that a click on a column asks for.
#pragma once

#include <QAbstractTableModel>
#include <QIcon>
#include <QSortFilterProxyModel>

#include "archive/ArchiveList.h"

namespace fieldpost {

/// The columns of the archive list, by their place.
struct ArchiveColumn {
  static constexpr int Filename = 0;
  static constexpr int Size = 1;
  static constexpr int Modified = 2;
  static constexpr int Mode = 3;
  static constexpr int Count = 4;
};

/// The rows of an ArchiveList. Texts are made when a view asks for them, so that a row costs no more than its
/// place in the list.
class WidgetArchiveModel final : public QAbstractTableModel {
  Q_OBJECT

 public:
  /// Shows nothing yet. `list` outlives the model.
  WidgetArchiveModel(const ArchiveList& list, QObject* parent);

  /// Shows the rows as they stand; they must not change while they are shown.
  void ShowRows();

  /// Shows no row, so that the list may change.
  void HideRows();

  [[nodiscard]] const ArchiveRow& Row(int row) const { return list_.Rows()[static_cast<std::size_t>(row)]; }

  [[nodiscard]] int rowCount(const QModelIndex& parent) const override;
  [[nodiscard]] int columnCount(const QModelIndex& parent) const override;
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
  [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  [[nodiscard]] static QString Text(const ArchiveRow& row, int column);

  const ArchiveList& list_;
  QIcon fileIcon_;
  bool shown_ = false;
};

/// The rows in the order of a column: names and words without regard to case, sizes as numbers, times as
/// times; rows that are alike in it by their place in the list.
class WidgetArchiveOrder final : public QSortFilterProxyModel {
  Q_OBJECT

 public:
  WidgetArchiveOrder(WidgetArchiveModel& rows, QObject* parent);

 protected:
  [[nodiscard]] bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

 private:
  const WidgetArchiveModel& rows_;
};

}  // namespace fieldpost
