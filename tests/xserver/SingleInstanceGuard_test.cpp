#include "shell/SingleInstanceGuard.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/StartedProgram.h"
#include "support/TempFolder.h"
#include "support/XClient.h"
#include "support/XServer.h"

namespace fieldpost::test {
namespace {

/// A program that asks the guard before it shows its main window.
class Copy {
 public:
  explicit Copy(std::vector<std::pair<std::string, std::string>> variables,
                const std::vector<std::string>& libraries = {})
      : program_(Words(libraries), std::move(variables)),
        number_(program_.ReadLine()),
        answer_(program_.ReadLine()) {}

  [[nodiscard]] xcb_window_t Number() const { return static_cast<xcb_window_t>(std::stoul(number_)); }

  /// Returns the guard's answer: "alone" or "second".
  [[nodiscard]] const std::string& Answer() const { return answer_; }

  void Show() {
    program_.Write("show\n");
    EXPECT_EQ(program_.ReadLine(), "shown");
  }

  void End() { program_.End(); }

 private:
  static std::vector<std::string> Words(const std::vector<std::string>& libraries) {
    std::vector<std::string> words{FIELDPOST_ASKING_WINDOW};
    words.insert(words.end(), libraries.begin(), libraries.end());
    return words;
  }

  StartedProgram program_;
  std::string number_;
  std::string answer_;
};

class GuardOnX11Test : public testing::TestWithParam<WindowManager> {
 protected:
  [[nodiscard]] Copy Start() const {
    return Copy({{"DISPLAY", server_.Display()}, {"QT_QPA_PLATFORM", "xcb"}});
  }

  XServer server_{GetParam()};
  XClient client_{server_.Display()};
};

INSTANTIATE_TEST_SUITE_P(Managers, GuardOnX11Test,
                         testing::Values(WindowManager::None, WindowManager::Openbox), [](const auto& given) {
                           return given.param == WindowManager::None ? "None" : "Openbox";
                         });

TEST_P(GuardOnX11Test, RefusesEverySecondCopy) {
  Copy first = Start();
  EXPECT_EQ(first.Answer(), "alone");
  EXPECT_EQ(Start().Answer(), "second") << "the first is not shown yet";
  first.Show();
  EXPECT_EQ(Start().Answer(), "second") << "the first is shown";
  first.End();
  EXPECT_EQ(Start().Answer(), "alone") << "the first has ended";
}

TEST_P(GuardOnX11Test, CountsAnotherProgramsWindowWithTheTitle) {
  for (const char* title : {"Fieldpost", "Fieldpos"}) {
    const xcb_window_t foreign = client_.Make({.name = title});
    EXPECT_EQ(Start().Answer(), "second") << title;
    client_.Destroy(foreign);
  }
  client_.Make({.name = "Fieldpost - Notes"});
  EXPECT_EQ(Start().Answer(), "alone");
}

TEST(GuardUnderAWindowManagerTest, CountsAnIconifiedCopy) {
  const XServer server(WindowManager::Openbox);
  XClient client(server.Display());
  const std::vector<std::pair<std::string, std::string>> session{{"DISPLAY", server.Display()},
                                                                 {"QT_QPA_PLATFORM", "xcb"}};
  Copy first(session);
  first.Show();
  client.Iconify(first.Number());
  EXPECT_EQ(Copy(session).Answer(), "second");
}

TEST(GuardWithoutX11Test, RecognisesCopiesByTheirWindowLibrary) {
  const TempFolder folder;
  const auto library = folder / "libfieldpost-window.so";
  std::filesystem::copy_file(FIELDPOST_SMALL_LIBRARY, library);
  const std::vector<std::pair<std::string, std::string>> session{{"QT_QPA_PLATFORM", "offscreen"},
                                                                 {"XDG_RUNTIME_DIR", folder.Path().string()}};
  const std::vector<std::string> libraries{library.string()};
  Copy first(session, libraries);
  EXPECT_EQ(first.Answer(), "alone");
  EXPECT_EQ(Copy(session, libraries).Answer(), "second");
  first.End();
  EXPECT_EQ(Copy(session, libraries).Answer(), "alone");
}

}  // namespace
}  // namespace fieldpost::test
