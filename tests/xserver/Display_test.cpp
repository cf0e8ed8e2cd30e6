#include "platform/Display.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/TempFolder.h"
#include "support/Variables.h"
#include "support/XServer.h"

namespace fieldpost::test {
namespace {

/// A socket that accepts connections like that of a Wayland compositor.
class ListeningSocket {
 public:
  explicit ListeningSocket(const std::filesystem::path& file)
      : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, file.c_str(), sizeof address.sun_path - 1);
    EXPECT_EQ(::bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(::listen(socket_, 4), 0);
  }
  ListeningSocket(const ListeningSocket&) = delete;
  ListeningSocket& operator=(const ListeningSocket&) = delete;
  ~ListeningSocket() { ::close(socket_); }

 private:
  int socket_;
};

using Value = Variables::Value;

struct Session {
  Value platform;
  Value display;
  Value wayland;
  Value folder;
  bool good;
  Value inherited = std::nullopt;
};

TEST(DisplayProblemTest, ChecksTheDisplaysThatQtWillTry) {
  const XServer server;
  const std::string screen = server.Display();
  XServer gone;
  const std::string dead = gone.Display();
  gone.End();
  const TempFolder folder;
  const std::string runtime = folder.Path().string();
  const std::string empty = folder.Folder("empty").string();
  const ListeningSocket compositor(folder / "wayland-7");
  const ListeningSocket usual(folder / "usual/wayland-0");
  const Value none;
  const std::vector<Session> sessions{
      {none, screen, none, none, true},
      {none, dead, none, none, false},
      {none, none, none, none, false},
      {none, "", "", "", false},
      {none, "no display", none, none, false},
      {none, none, "wayland-7", runtime, true},
      {none, none, runtime + "/wayland-7", none, true},
      {none, none, "wayland-8", runtime, false},
      {none, none, "wayland-7", none, false},
      {none, none, "wayland-7", empty, false},
      {none, none, none, (folder / "usual").string(), true},
      {none, none, std::string(300, 'w'), runtime, false},
      {none, dead, "wayland-7", runtime, true},
      {none, none, none, none, true, "3"},
      {"", none, none, none, false},
      {"xcb", screen, none, none, true},
      {"xcb", none, "wayland-7", runtime, false},
      {"xcb", dead, "wayland-7", runtime, false},
      {"wayland", screen, none, empty, false},
      {"wayland", none, "wayland-7", runtime, true},
      {"wayland-egl", screen, none, empty, false},
      {"wayland;xcb", screen, none, empty, true},
      {"wayland;xcb", dead, none, empty, false},
      {"xcb:some=argument", screen, none, none, true},
      {"xcb:some=argument", none, none, none, false},
      {"offscreen", none, none, none, true},
      {"xcb;offscreen", none, none, none, true},
      {"minimal", dead, none, none, true},
      {"unheard-of", none, none, none, true},
  };
  for (const Session& given : sessions) {
    const Variables session({{"QT_QPA_PLATFORM", given.platform},
                             {"DISPLAY", given.display},
                             {"WAYLAND_DISPLAY", given.wayland},
                             {"WAYLAND_SOCKET", given.inherited},
                             {"XDG_RUNTIME_DIR", given.folder}});
    EXPECT_EQ(DisplayProblem().empty(), given.good)
        << given.platform.value_or("-") << " " << given.display.value_or("-") << " "
        << given.wayland.value_or("-") << " " << given.folder.value_or("-");
  }
}

TEST(DisplayProblemTest, ReturnsOneLineThatSaysWhatToDo) {
  const Variables session({{"QT_QPA_PLATFORM", "xcb"}, {"DISPLAY", std::nullopt}});
  EXPECT_EQ(
      DisplayProblem(),
      "fieldpost: there is no display for its window. Start it in a desktop session, or without a window "
      "by one of the switches -fcs, -fc, -fs, -ps, \"-fcs -ps\", \"-ps -fcs\".");
}

}  // namespace
}  // namespace fieldpost::test
