#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <system_error>

#include "platform/TopLevelWindows.h"
#include "platform/WaylandSocket.h"
#include "platform/WindowLibrary.h"

namespace fieldpost {
namespace fs = std::filesystem;
namespace {

/// Returns the ID of the process whose folder of /proc this is; empty for any other folder.
std::optional<pid_t> ProcessOf(const fs::path& folder) {
  const std::string name = folder.filename().string();
  pid_t process = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), process);
  return error == std::errc() && end == name.data() + name.size() ? std::optional(process) : std::nullopt;
}

bool IsOfThisUser(const fs::path& folder) {
  struct stat entry {};
  return ::stat(folder.c_str(), &entry) == 0 && entry.st_uid == ::geteuid();
}

/// Whether a line of a process's list of mapped files names the library. The system adds " (deleted)" when
/// the file was replaced since, as by an update.
bool NamesLibrary(std::string_view line, std::string_view library) {
  constexpr std::string_view replaced = " (deleted)";
  if (line.ends_with(replaced)) line.remove_suffix(replaced.size());
  if (!line.ends_with(library)) return false;
  line.remove_suffix(library.size());
  return line.ends_with('/');
}

bool HasLoaded(const fs::path& folder, std::string_view library) {
  std::ifstream maps(folder / "maps", std::ios::binary);
  std::string line;
  while (std::getline(maps, line)) {
    if (NamesLibrary(line, library)) return true;
  }
  return false;
}

/// Returns a text that identifies the desktop of this process.
std::string OwnDesktop() {
  const auto variable = [](const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string_view() : value;
  };
  return WaylandSocket(variable("WAYLAND_DISPLAY"), variable("XDG_RUNTIME_DIR"));
}

/// Returns the text of OwnDesktop for another process, from the environment that it was started with.
std::string DesktopOf(const fs::path& folder) {
  std::ifstream variables(folder / "environ", std::ios::binary);
  std::string display;
  std::string runtimeFolder;
  for (std::string variable; std::getline(variables, variable, '\0');) {
    const std::size_t end = variable.find('=');
    if (end == std::string::npos) continue;
    if (variable.compare(0, end, "WAYLAND_DISPLAY") == 0) display = variable.substr(end + 1);
    if (variable.compare(0, end, "XDG_RUNTIME_DIR") == 0) runtimeFolder = variable.substr(end + 1);
  }
  return WaylandSocket(display, runtimeFolder);
}

/// Returns the IDs of the other processes of this user that have loaded the library and are on the same
/// desktop.
std::vector<pid_t> OtherProcessesWith(std::string_view library) {
  const std::string desktop = OwnDesktop();
  std::vector<pid_t> result;
  std::error_code ignored;
  for (fs::directory_iterator entry("/proc", ignored), end; entry != end; entry.increment(ignored)) {
    const std::optional<pid_t> process = ProcessOf(entry->path());
    if (!process || *process == ::getpid() || !IsOfThisUser(entry->path())) continue;
    if (HasLoaded(entry->path(), library) && DesktopOf(entry->path()) == desktop) result.push_back(*process);
  }
  return result;
}

}  // namespace

std::vector<TopLevelWindow> ProcessTopLevelWindows::OnScreenOf(std::uint64_t /*window*/) {
  std::vector<TopLevelWindow> result;
  result.push_back({static_cast<std::uint64_t>(::getpid()), caption_, true});
  for (const pid_t process : OtherProcessesWith(WindowLibraryName)) {
    result.push_back({static_cast<std::uint64_t>(process), caption_, true});
  }
  return result;
}

std::unique_ptr<TopLevelWindows> SessionTopLevelWindows(bool onX11, std::string caption) {
  if (onX11) return std::make_unique<X11TopLevelWindows>();
  return std::make_unique<ProcessTopLevelWindows>(std::move(caption));
}

}  // namespace fieldpost
