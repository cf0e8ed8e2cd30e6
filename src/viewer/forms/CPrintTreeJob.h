// The dialogs for printing a tree.
#pragma once

#include <QString>
#include <filesystem>

#include "environment/ModWriteLogFile.h"
#include "platform/FileSystem.h"
#include "viewer/forms/CPrintTreeView.h"

class QPrinter;
class QWidget;

namespace fieldpost {

/// Lets the user choose where to print, and prints there: on a printer, or into a PDF file, which needs no
/// printer.
class CPrintTreeJob {
 public:
  enum class [[nodiscard]] Outcome{
      Printed,
      Cancelled,  ///< by the user
      Failed,  ///< no printer, nothing to print, or a device error; the reason of a file's failure is logged
  };

  /// The dialogs belong to `window`; `title` names the document. The references outlive the job.
  CPrintTreeJob(const PrintableTree& tree, QWidget& window, FileSystem& files, ModWriteLogFile& log,
                QString title)
      : tree_(tree), window_(window), files_(files), log_(log), title_(std::move(title)) {}

  /// Shows the printer dialog `CDPrinter`, and prints with its settings.
  Outcome Print();

  /// Shows the preview of the pages, which can print too. Returns what came of the last time that the pages
  /// were printed or drawn.
  Outcome Preview();

 private:
  Outcome PrintWithSettings(QPrinter& printer);
  Outcome PrintFromPreview(QPrinter& printer);
  Outcome PrintToFile(const QPrinter& settings, const std::filesystem::path& file);
  Outcome PrintOn(QPagedPaintDevice& device);

  const PrintableTree& tree_;
  QWidget& window_;
  FileSystem& files_;
  ModWriteLogFile& log_;
  QString title_;
};

}  // namespace fieldpost
