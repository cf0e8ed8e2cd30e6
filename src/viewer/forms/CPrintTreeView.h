// Prints a tree view as it looks on the screen.
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

/// A tree view that can be printed: its visible nodes in order, numbered from 0.
class PrintableTree {
 public:
  /// One visible node.
  struct Row {
    std::uint32_t level;  ///< the number of its ancestors
    bool hasNextSibling;
    QString label;  ///< as it is shown
  };

  PrintableTree() = default;
  PrintableTree(const PrintableTree&) = delete;
  PrintableTree& operator=(const PrintableTree&) = delete;
  virtual ~PrintableTree() = default;

  /// The number of visible nodes.
  [[nodiscard]] virtual int PrintedRows() const = 0;

  /// One visible node; `row` is from 0 to PrintedRows() - 1.
  [[nodiscard]] virtual Row PrintedRow(int row) const = 0;

  /// The font of the labels.
  [[nodiscard]] virtual QFont PrintedFont() const = 0;

  /// The view's indentation for each level, in its own units.
  [[nodiscard]] virtual int PrintedIndentation() const = 0;

  /// The resolution of the screen that shows the view, in dots per inch.
  [[nodiscard]] virtual QSizeF ScreenDots() const = 0;
};

/// Prints on a device. Coordinates are twips (1440 to the inch) from the top left of the printable area.
class CPrintTreeView final : public QObject {
  Q_OBJECT

 public:
  /// The device outlives this object.
  explicit CPrintTreeView(QPagedPaintDevice& printer) : printer_(printer) {}

  /// Sets the tree view to print, which outlives this object.
  void SetControl(const PrintableTree& tree) { control_ = &tree; }

  /// Sets a function that is called after each node with the number of printed nodes and of all; it returns
  /// whether to continue.
  void SetProgress(std::function<bool(int done, int all)> progress) { progress_ = std::move(progress); }

  /// Prints the tree as one document. Returns false when there is nothing to print, when the device fails, or
  /// when the progress function stopped it; pages printed until then may come out of the printer.
  [[nodiscard]] bool PrintControl();

 Q_SIGNALS:
  /// A page is full; it is still the current page of the device.
  void BeforeNewPage();

 private:
  QPagedPaintDevice& printer_;
  const PrintableTree* control_ = nullptr;
  std::function<bool(int, int)> progress_;
};

}  // namespace fieldpost
