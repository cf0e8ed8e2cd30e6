// An X server of the test's own, with or without a window manager.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/StartedProgram.h"
#include "support/TempFolder.h"

namespace fieldpost::test {

enum class WindowManager { None, Openbox };

/// A server with one screen in memory, on a display number that is free. It accepts windows when the
/// constructor returns; its window manager manages them by then.
class XServer {
 public:
  explicit XServer(WindowManager manager = WindowManager::None)
      : server_({"Xvfb", "-displayfd", "1", "-screen", "0", "1280x1024x24", "-nolisten", "tcp", "-noreset"}),
        number_(server_.ReadLine()) {
    EXPECT_FALSE(number_.empty()) << "Xvfb did not start";
    if (manager == WindowManager::Openbox) StartOpenbox();
  }

  /// Its name, as the variable DISPLAY holds it.
  [[nodiscard]] std::string Display() const { return ":" + number_; }

  /// Ends it at once; its windows' programs lose their connection.
  void End() {
    manager_.reset();
    server_.End();
  }

 private:
  /// It runs the given command as soon as it manages windows.
  void StartOpenbox() {
    const std::string home = home_.Path().string();
    manager_ = std::make_unique<StartedProgram>(
        std::vector<std::string>{"openbox", "--sm-disable", "--startup", "echo ready"},
        std::vector<std::pair<std::string, std::string>>{
            {"DISPLAY", Display()}, {"HOME", home}, {"XDG_CONFIG_HOME", home}, {"XDG_CACHE_HOME", home}});
    std::string line = manager_->ReadLine();
    while (!line.empty() && line != "ready") line = manager_->ReadLine();  // it also tells what it misses
    EXPECT_EQ(line, "ready") << "openbox did not start";
  }

  TempFolder home_;
  StartedProgram server_;
  std::string number_;
  std::unique_ptr<StartedProgram> manager_;
};

}  // namespace fieldpost::test
