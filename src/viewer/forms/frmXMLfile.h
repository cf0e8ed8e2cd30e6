// The XML viewer.
#pragma once

#include <QMainWindow>
#include <QTimer>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>

#include "common/UserPrompt.h"
#include "environment/ModWriteLogFile.h"
#include "platform/FileSystem.h"
#include "viewer/XmlTree.h"
#include "viewer/XmlTreeReader.h"
#include "viewer/forms/CPrintTreeJob.h"
#include "viewer/forms/WidgetXmlTreeModel.h"
#include "viewer/forms/WidgetXmlTreeSearch.h"

namespace Ui {
class frmXMLfile;
}

namespace fieldpost {

/// A child window of the main window that shows one XML file as a tree. The file is read in slices between
/// window events, so that the start of a large file is visible at once, and the window can be used, and
/// closed, while the rest is read.
class frmXMLfile final : public QMainWindow {
  Q_OBJECT

 public:
  /// The references outlive the window.
  frmXMLfile(FileSystem& files, ModWriteLogFile& log, UserPrompt& prompt, QWidget* parent = nullptr);
  ~frmXMLfile() override;

  /// Starts to read the file of this full path in the place of the shown one, and returns after the first
  /// slice, which is the whole of a small file. A file that is missing, unreadable or malformed leaves the
  /// tree empty, and the reason is logged.
  void Load(std::filesystem::path path);

  /// Whether the file is being read.
  [[nodiscard]] bool IsLoading() const { return reader_ != nullptr; }

  /// Large enough for some thirty lines of a usual file.
  [[nodiscard]] QSize sizeHint() const override;

  /// The tree of the part of the file that was read so far.
  [[nodiscard]] const XmlTree& Tree() const { return tree_; }

 private:
  void Connect();
  void ConnectFind();
  void ReadOn();
  void ShowRead(bool all);
  void StopReading();
  void StopSearch();
  void ClearTree();
  void LogFailure(std::string_view reason);
  void ShowProgress();
  void Print();
  void Preview();
  void CopyLabel();
  void LeaveFindBar();
  void Find(SearchDirection direction, bool mayStay);
  void SearchOn();
  void ShowFound();
  void ReportPrinting(CPrintTreeJob::Outcome outcome);
  [[nodiscard]] QString Title() const;

  std::unique_ptr<Ui::frmXMLfile> ui_;
  FileSystem& files_;
  ModWriteLogFile& log_;
  UserPrompt& prompt_;
  std::filesystem::path path_;
  std::uint64_t fileBytes_ = 0;
  XmlTree tree_;
  WidgetXmlTreeModel rows_{tree_, this};
  std::unique_ptr<XmlTreeReader> reader_;  // while the file is being read
  QTimer reading_;
  std::optional<WidgetXmlTreeSearch> search_;
  QTimer searching_;
};

}  // namespace fieldpost
