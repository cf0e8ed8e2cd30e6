// The item models of the archive list: its rows, and their sort order.
#pragma once

#include <QAbstractTableModel>
#include <QIcon>
#include <QSortFilterProxyModel>

#include "archive/ArchiveList.h"

namespace fieldpost {

/// The columns of the archive list, by their index.
struct ArchiveColumn {
  static constexpr int Filename = 0;
  static constexpr int Size = 1;
  static constexpr int Modified = 2;
  static constexpr int Mode = 3;
  static constexpr int Count = 4;
};

/// Shows the rows of an ArchiveList. Texts are formatted when a view requests them, so that a row that is not
/// visible costs nothing.
class WidgetArchiveModel final : public QAbstractTableModel {
  Q_OBJECT

 public:
  /// Creates an empty model. `list` outlives it.
  WidgetArchiveModel(const ArchiveList& list, QObject* parent);

  /// Shows the rows of the list, which must not change until HideRows.
  void ShowRows();

  /// Empties the model, so that the list may change.
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

/// Sorts the rows by a column: names and modes without regard to the case of ASCII letters, sizes as numbers,
/// dates by time. Rows that are equal in the column keep the order of the list.
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
