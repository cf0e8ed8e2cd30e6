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

/// A program that shows network drives.
struct FileManager {
  std::string_view desktop;  ///< Its desktop's name, as XDG_CURRENT_DESKTOP spells it.
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

/// Takes what stands before the next separator off the text, and returns it.
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

/// The full name of a program; empty when the search path does not lead to it.
std::string FullName(std::string_view program) {
  std::string_view folders = Variable("PATH");
  while (!folders.empty()) {
    std::string name(TakePart(folders, ':'));
    name.append("/").append(program);
    if (name.front() == '/' && ::access(name.c_str(), X_OK) == 0) return name;
  }
  return {};
}

/// Those of the running desktop first.
std::vector<FileManager> InOrder() {
  std::vector<FileManager> result;
  for (const FileManager& manager : FileManagers) {
    if (IsOfDesktop(manager)) result.push_back(manager);
  }
  for (const FileManager& manager : FileManagers) {
    if (!IsOfDesktop(manager)) result.push_back(manager);
  }
  return result;
}

/// Whether a child process ended well.
bool EndedWell(pid_t child) {
  int status = 0;
  pid_t ended = 0;
  do {
    ended = ::waitpid(child, &status, 0);
  } while (ended < 0 && errno == EINTR);
  return ended == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// Starts a program that lives on without this one. The helper between them forks it off and ends at once, so
/// that no ended process is left for this one to collect later.
bool StartDetached(std::string program, std::string place) {
  std::string helper = FullName("setsid");
  std::string fork = "--fork";
  if (helper.empty()) return false;
  std::array<char*, 5> arguments{helper.data(), fork.data(), program.data(), place.data(), nullptr};
  pid_t child = 0;
  if (::posix_spawn(&child, helper.c_str(), nullptr, nullptr, arguments.data(), environ) != 0) return false;
  return EndedWell(child);
}

bool ShowNetworkPlace(std::string& problem) {
  for (const FileManager& manager : InOrder()) {
    const std::string program = FullName(manager.program);
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
