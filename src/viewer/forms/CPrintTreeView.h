// Prints the visible part of a tree view as it looks on the screen.
#pragma once

#include <QFont>
#include <QObject>
#include <QSizeF>
#include <QString>
#include <cstdint>
#include <functional>
#include <utility>

class QPagedPaintDevice;

namespace fieldpost {

/// A tree view that can be printed: its visible nodes in the order in which they stand, from 0.
class PrintableTree {
 public:
  /// One visible node.
  struct Row {
    std::uint32_t level;  ///< the number of its ancestors
    bool hasNextSibling;
    QString label;  ///< as shown
  };

  PrintableTree() = default;
  PrintableTree(const PrintableTree&) = delete;
  PrintableTree& operator=(const PrintableTree&) = delete;
  virtual ~PrintableTree() = default;

  [[nodiscard]] virtual int PrintedRows() const = 0;
  [[nodiscard]] virtual Row PrintedRow(int row) const = 0;

  /// The font of the labels.
  [[nodiscard]] virtual QFont PrintedFont() const = 0;

  /// The view's indentation for each level, in its own units.
  [[nodiscard]] virtual int PrintedIndentation() const = 0;

  /// Dots an inch of the screen that the view is on.
  [[nodiscard]] virtual QSizeF ScreenDots() const = 0;
};

/// Prints on a device that is given to it. Coordinates are twips (1440 to the inch) from the top left of what
/// can be printed on.
class CPrintTreeView final : public QObject {
  Q_OBJECT

 public:
  /// The device outlives the object.
  explicit CPrintTreeView(QPagedPaintDevice& printer) : printer_(printer) {}

  /// The tree view to print; it outlives the object.
  void SetControl(const PrintableTree& tree) { control_ = &tree; }

  /// What is asked after each node, with how many are printed of how many: whether to go on.
  void SetProgress(std::function<bool(int done, int all)> progress) { progress_ = std::move(progress); }

  /// Prints the tree as one document. False when there is nothing to print, when the device fails, or when
  /// printing was to end; what was printed by then may come out.
  [[nodiscard]] bool PrintControl();

 Q_SIGNALS:
  /// A page is about to end; it is still the current one.
  void BeforeNewPage();

 private:
  QPagedPaintDevice& printer_;
  const PrintableTree* control_ = nullptr;
  std::function<bool(int, int)> progress_;
};

}  // namespace fieldpost
