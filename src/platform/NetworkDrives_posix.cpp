#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "platform/NetworkDrives.h"

namespace fieldpost {
namespace {

/// A file manager that shows network drives.
struct FileManager {
  std::string_view desktop;  ///< The name of its desktop in XDG_CURRENT_DESKTOP.
  const char* program;
  const char* place;
};

constexpr std::array<FileManager, 8> FileManagers{{
    {"GNOME", "nautilus", "network:///"},
    {"KDE", "dolphin", "remote:/"},
    {"XFCE", "thunar", "network:///"},
    {"MATE", "caja", "network:///"},
    {"X-Cinnamon", "nemo", "network:///"},
    {"LXQt", "pcmanfm-qt", "network:///"},
    {"LXDE", "pcmanfm", "network:///"},
    {"", "xdg-open", "network:///"},
}};

std::string_view Variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string_view() : value;
}

/// Removes the part before the next separator, and the separator, from the front of `text`. Returns the part.
std::string_view TakePart(std::string_view& text, char separator) {
  const std::size_t end = text.find(separator);
  const std::string_view part = text.substr(0, end);
  text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
  return part;
}

bool IsOfDesktop(const FileManager& manager) {
  std::string_view desktops = Variable("XDG_CURRENT_DESKTOP");
  while (!desktops.empty()) {
    if (TakePart(desktops, ':') == manager.desktop) return true;
  }
  return false;
}

/// Returns the path of a program in an absolute folder of PATH; empty when there is none.
std::string PathOfProgram(std::string_view program) {
  std::string_view folders = Variable("PATH");
  while (!folders.empty()) {
    std::string name(TakePart(folders, ':'));
    name.append("/").append(program);
    if (name.front() == '/' && ::access(name.c_str(), X_OK) == 0) return name;
  }
  return {};
}

/// Returns all file managers, those of the running desktop first.
std::vector<FileManager> FileManagersByPreference() {
  std::vector<FileManager> result;
  for (const FileManager& manager : FileManagers) {
    if (IsOfDesktop(manager)) result.push_back(manager);
  }
  for (const FileManager& manager : FileManagers) {
    if (!IsOfDesktop(manager)) result.push_back(manager);
  }
  return result;
}

/// Waits for a child process to end. Whether its exit status is 0.
bool WaitForSuccess(pid_t child) {
  int status = 0;
  pid_t ended = 0;
  do {
    ended = ::waitpid(child, &status, 0);
  } while (ended < 0 && errno == EINTR);
  return ended == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// Starts a program in a session of its own, so that it outlives this one. The intermediate process ends at
/// once, so that no zombie process is left.
bool StartDetached(std::string program, std::string place) {
  std::string helper = PathOfProgram("setsid");
  std::string fork = "--fork";
  if (helper.empty()) return false;
  std::array<char*, 5> arguments{helper.data(), fork.data(), program.data(), place.data(), nullptr};
  pid_t child = 0;
  if (::posix_spawn(&child, helper.c_str(), nullptr, nullptr, arguments.data(), environ) != 0) return false;
  return WaitForSuccess(child);
}

bool ShowNetworkPlace(std::string& problem) {
  for (const FileManager& manager : FileManagersByPreference()) {
    const std::string program = PathOfProgram(manager.program);
    if (!program.empty() && StartDetached(program, manager.place)) return true;
  }
  problem =
      "No file manager that shows network drives was found. Connect the drive by other means, then choose "
      "its folder with Browse.";
  return false;
}

}  // namespace

bool DesktopNetworkDrives::Connect(std::string& problem) {
  return ShowNetworkPlace(problem);
}

bool DesktopNetworkDrives::Disconnect(std::string& problem) {
  return ShowNetworkPlace(problem);
}

}  // namespace fieldpost
