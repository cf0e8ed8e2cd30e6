#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/Display.h"
#include "platform/WaylandSocket.h"

namespace fieldpost {
namespace {

std::string_view Variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string_view() : value;
}

/// Returns the platforms that QT_QPA_PLATFORM names, without their arguments; empty when Qt may choose.
std::vector<std::string_view> WantedPlatforms() {
  std::vector<std::string_view> result;
  std::string_view names = Variable("QT_QPA_PLATFORM");
  while (!names.empty()) {
    const std::size_t end = names.find(';');
    const std::string_view name = names.substr(0, end);
    if (!name.empty()) result.push_back(name.substr(0, name.find(':')));
    names = end == std::string_view::npos ? std::string_view() : names.substr(end + 1);
  }
  return result;
}

bool HasXServer() {
  if (Variable("DISPLAY").empty()) return false;
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const { ::xcb_disconnect(connection); }
  };
  const std::unique_ptr<xcb_connection_t, Disconnect> connection(::xcb_connect(nullptr, nullptr));
  return ::xcb_connection_has_error(connection.get()) == 0;
}

/// Whether a process accepts connections on a Unix domain socket.
bool Listens(const std::string& name) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (name.empty() || name.size() >= sizeof address.sun_path) return false;
  std::memcpy(address.sun_path, name.c_str(), name.size() + 1);
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (socket < 0) return false;
  const bool connected = ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  ::close(socket);
  return connected;
}

/// WAYLAND_SOCKET is the number of a connection that the session opened for the program.
bool HasWayland() {
  return !Variable("WAYLAND_SOCKET").empty() ||
         Listens(WaylandSocket(Variable("WAYLAND_DISPLAY"), Variable("XDG_RUNTIME_DIR")));
}

bool CanShow(std::string_view platform) {
  if (platform == "xcb") return HasXServer();
  if (platform == "wayland" || platform == "wayland-egl") return HasWayland();
  return true;
}

bool HasDisplay() {
  const std::vector<std::string_view> wanted = WantedPlatforms();
  if (wanted.empty()) return HasXServer() || HasWayland();
  for (const std::string_view platform : wanted) {
    if (CanShow(platform)) return true;
  }
  return false;
}

}  // namespace

std::string DisplayProblem() {
  if (HasDisplay()) return {};
  return "fieldpost: there is no display for its window. Start it in a desktop session, or without a window "
         "by "
         "one of the switches -fcs, -fc, -fs, -ps, \"-fcs -ps\", \"-ps -fcs\".";
}

}  // namespace fieldpost
