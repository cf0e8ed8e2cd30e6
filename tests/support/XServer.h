// An X server for a test, with or without a window manager.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/StartedProgram.h"
#include "support/TempFolder.h"

namespace fieldpost::test {

enum class WindowManager { None, Openbox };

/// A server with one screen in memory, on an unused display number. When the constructor returns, the server
/// accepts connections and the window manager is ready.
class XServer {
 public:
  explicit XServer(WindowManager manager = WindowManager::None)
      : server_({"Xvfb", "-displayfd", "1", "-screen", "0", "1280x1024x24", "-nolisten", "tcp", "-noreset"}),
        number_(server_.ReadLine()) {
    EXPECT_FALSE(number_.empty()) << "Xvfb did not start";
    if (manager == WindowManager::Openbox) StartOpenbox();
  }

  /// Returns its name in the form of the variable DISPLAY.
  [[nodiscard]] std::string Display() const { return ":" + number_; }

  /// Ends the server at once; its clients lose their connections.
  void End() {
    manager_.reset();
    server_.End();
  }

 private:
  /// Openbox runs the startup command as soon as it manages windows.
  void StartOpenbox() {
    const std::string home = home_.Path().string();
    manager_ = std::make_unique<StartedProgram>(
        std::vector<std::string>{"openbox", "--sm-disable", "--startup", "echo ready"},
        std::vector<std::pair<std::string, std::string>>{
            {"DISPLAY", Display()}, {"HOME", home}, {"XDG_CONFIG_HOME", home}, {"XDG_CACHE_HOME", home}});
    std::string line = manager_->ReadLine();
    while (!line.empty() && line != "ready") line = manager_->ReadLine();  // it also prints warnings
    EXPECT_EQ(line, "ready") << "openbox did not start";
  }

  TempFolder home_;
  StartedProgram server_;
  std::string number_;
  std::unique_ptr<StartedProgram> manager_;
};

}  // namespace fieldpost::test
