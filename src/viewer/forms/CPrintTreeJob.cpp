#include "viewer/forms/CPrintTreeJob.h"

#include <QBuffer>
#include <QElapsedTimer>
#include <QPdfWriter>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QPrinterInfo>
#include <QProgressDialog>

#include "common/forms/WidgetText.h"

namespace fieldpost {
namespace {

constexpr qint64 EventTurnMilliseconds = 50;

}  // namespace

CPrintTreeJob::Outcome CPrintTreeJob::Print() {
  if (tree_.PrintedRows() == 0) return Outcome::Failed;
  QPrinter printer(QPrinter::HighResolution);
  printer.setDocName(title_);
  QPrintDialog dialog(&printer, &window_);
  dialog.setObjectName(QStringLiteral("CDPrinter"));
  dialog.setOption(QAbstractPrintDialog::PrintPageRange, false);
  if (dialog.exec() != QDialog::Accepted) return Outcome::Cancelled;
  return PrintWithSettings(printer);
}

CPrintTreeJob::Outcome CPrintTreeJob::Preview() {
  if (tree_.PrintedRows() == 0) return Outcome::Failed;
  QPrinter printer(QPrinter::HighResolution);
  printer.setDocName(title_);
  QPrintPreviewDialog dialog(&printer, &window_);
  dialog.setObjectName(QStringLiteral("CDPreview"));
  Outcome outcome = Outcome::Printed;
  QObject::connect(&dialog, &QPrintPreviewDialog::paintRequested, &dialog,
                   [&](QPrinter* pages) { outcome = PrintFromPreview(*pages); });
  dialog.exec();
  return outcome;
}

/// The dialog asks for the pages to draw them, and once more to print them; the name of a PDF file is chosen
/// in between.
CPrintTreeJob::Outcome CPrintTreeJob::PrintFromPreview(QPrinter& printer) {
  const bool isFile = printer.outputFormat() == QPrinter::PdfFormat && !printer.outputFileName().isEmpty();
  return isFile ? PrintToFile(printer, PathFromQt(printer.outputFileName())) : PrintOn(printer);
}

CPrintTreeJob::Outcome CPrintTreeJob::PrintWithSettings(QPrinter& printer) {
  if (printer.outputFormat() == QPrinter::PdfFormat) {
    if (printer.outputFileName().isEmpty()) return Outcome::Failed;
    return PrintToFile(printer, PathFromQt(printer.outputFileName()));
  }
  if (QPrinterInfo::printerInfo(printer.printerName()).isNull()) return Outcome::Failed;
  const Outcome outcome = PrintOn(printer);
  if (outcome != Outcome::Printed) printer.abort();
  return outcome;
}

/// The file is written when all pages are complete: a full disk leaves no partial file, and an existing file
/// as it was.
CPrintTreeJob::Outcome CPrintTreeJob::PrintToFile(const QPrinter& settings,
                                                  const std::filesystem::path& file) {
  QByteArray bytes;
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::WriteOnly);
  QPdfWriter pages(&buffer);
  pages.setPageLayout(settings.pageLayout());
  pages.setResolution(settings.resolution());
  pages.setTitle(title_);
  const Outcome outcome = PrintOn(pages);
  if (outcome != Outcome::Printed) return outcome;
  try {
    files_.SaveAtomically(file, {bytes.constData(), static_cast<std::size_t>(bytes.size())});
    return outcome;
  } catch (const FileError& error) {
    log_.WriteLog(error.what(), LogCategory::Error);
    return Outcome::Failed;
  }
}

CPrintTreeJob::Outcome CPrintTreeJob::PrintOn(QPagedPaintDevice& device) {
  CPrintTreeView printing(device);
  printing.SetControl(tree_);
  QProgressDialog progress(QObject::tr("Printing..."), QObject::tr("Cancel"), 0, tree_.PrintedRows(),
                           &window_);
  progress.setWindowModality(Qt::ApplicationModal);
  QElapsedTimer sinceEvents;
  sinceEvents.start();
  printing.SetProgress([&](int done, int) {
    if (sinceEvents.elapsed() < EventTurnMilliseconds) return true;
    progress.setValue(done);
    sinceEvents.restart();
    return !progress.wasCanceled();
  });
  if (printing.PrintControl()) return Outcome::Printed;
  return progress.wasCanceled() ? Outcome::Cancelled : Outcome::Failed;
}

}  // namespace fieldpost
