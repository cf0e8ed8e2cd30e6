// A fixture of the XML viewer.
#pragma once

#include <QAction>
#include <QTest>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "support/WindowSite.h"
#include "viewer/forms/WidgetXmlTree.h"
#include "viewer/forms/frmXMLfile.h"

namespace fieldpost::test {

/// An XML viewer on a site of its own.
struct ViewerSite : WindowSite {
  std::unique_ptr<frmXMLfile> form = std::make_unique<frmXMLfile>(files, program.log, prompt);

  template <class Widget>
  Widget& Find(const char* name) const {
    auto* const found = form->findChild<Widget*>(QLatin1String(name));
    EXPECT_NE(found, nullptr) << name;
    return *found;
  }
  WidgetXmlTree& Tree() const { return Find<WidgetXmlTree>("TWXML"); }
  void Trigger(const char* action) const { Find<QAction>(action).trigger(); }

  /// Shows the viewer with a file, and waits until the file is read.
  void Open(const std::filesystem::path& path) {
    form->resize(600, 400);
    form->Load(path);
    form->show();
    form->activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(form.get()));
    Tree().setFocus();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !form->IsLoading(); }, 50'000));
  }
  void OpenText(std::string_view xml) { Open(folder.Write("x.xml", xml)); }

  /// Returns the labels of the rows, each after one dot for each level.
  std::vector<std::string> Rows() const {
    std::vector<std::string> rows;
    for (int row = 0; row < Tree().PrintedRows(); ++row) {
      const PrintableTree::Row one = Tree().PrintedRow(row);
      rows.push_back(std::string(one.level, '.') + FromQt(one.label));
    }
    return rows;
  }
  std::string Current() const { return FromQt(Tree().currentIndex().data().toString()); }
  void Press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const {
    QTest::keyClick(form->focusWidget() == nullptr ? &Tree() : form->focusWidget(), key, modifiers);
  }
  std::string Title() const { return FromQt(form->windowTitle()); }
};

/// Writes an XML file with this number of elements.
inline std::filesystem::path WriteMany(const TempFolder& folder, int elements) {
  const std::filesystem::path path = folder / "many.xml";
  std::ofstream file(path, std::ios::binary);
  file << "<FLFILE>";
  for (int i = 1; i < elements; ++i) {
    file << "<FAULT No=\"" << i << "\" Type=\"memory dump\">line of a dump " << i << "</FAULT>\n";
  }
  file << "</FLFILE>";
  return path;
}

}  // namespace fieldpost::test
