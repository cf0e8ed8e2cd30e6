// The dialogs around the printing of a tree.
#pragma once

#include <QString>
#include <filesystem>

#include "environment/ModWriteLogFile.h"
#include "platform/FileSystem.h"
#include "viewer/forms/CPrintTreeView.h"

class QPrinter;
class QWidget;

namespace fieldpost {

/// Asks where to print, and prints there: on a printer, or into a PDF file, for which no printer is needed.
class CPrintTreeJob {
 public:
  enum class Outcome {
    Printed,
    Cancelled,  ///< by the person at the screen
    Failed,     ///< no printer, nothing to print, or the printing failed; a file's reason is in the log
  };

  /// What prints, and what the dialogs stand over. All outlive the job. `title` names the document.
  CPrintTreeJob(const PrintableTree& tree, QWidget& window, FileSystem& files, ModWriteLogFile& log,
                QString title)
      : tree_(tree), window_(window), files_(files), log_(log), title_(std::move(title)) {}

  /// Shows the printer dialog `CDPrinter`, and prints as it was set.
  [[nodiscard]] Outcome Print();

  /// Shows the pages; printing is offered there too.
  void Preview();

 private:
  Outcome PrintAsSet(QPrinter& printer);
  Outcome PrintToFile(const QPrinter& settings, const std::filesystem::path& file);
  Outcome PrintOn(QPagedPaintDevice& device);

  const PrintableTree& tree_;
  QWidget& window_;
  FileSystem& files_;
  ModWriteLogFile& log_;
  QString title_;
};

}  // namespace fieldpost
