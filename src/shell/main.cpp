// The entry of the program: an unattended run when the command line is one of the switches, else the window.
#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <optional>

#include "platform/Clock.h"
#include "platform/CoreDump.h"
#include "platform/FileSystem.h"
#include "platform/ProgramFolder.h"
#include "platform/SqliteKeyStore.h"
#include "platform/WindowLibrary.h"
#include "shell/CommandLine.h"
#include "shell/FieldpostProgram.h"
#include "shell/ModFPHide.h"
#include "smtp/SmtpMail.h"

namespace {

using namespace fieldpost;

constexpr int Done = 0;
constexpr int Failed = 1;
constexpr int NoWindow = 2;

/// Returns the exit status of an unattended run, or nothing when the line is not one of the switches.
std::optional<int> RunUnattended(const std::string& commandLine) {
  if (!ModFPHide::IsSwitch(commandLine)) return std::nullopt;
  DiskFileSystem files;
  const SystemClock clock;
  StatusDisplay display;
  UserPrompt prompt;
  const std::filesystem::path ownFolder = OwnFolder();
  MakeOwnFolder(files, ownFolder);
  SqliteKeyStore keys(files, RegistryFile());
  SmtpMail transport(files, clock, display);
  FieldpostProgram program({files, clock, keys, transport, prompt, display}, ownFolder);
  return ModFPHide(program).RunCommandLine(commandLine).succeeded ? Done : Failed;
}

int RunWindow(int argc, char** argv) {
  WindowLibrary windows;
  const std::string problem = windows.Load();
  if (problem.empty()) return windows.Run(argc, argv);
  fmt::print(stderr, "fieldpost: {}\n", problem);
  return NoWindow;
}

}  // namespace

int main(int argc, char* argv[]) {
  ForbidCoreDumps();
  try {
    const std::string commandLine = JoinArguments({argv, static_cast<std::size_t>(argc)});
    const std::optional<int> status = RunUnattended(commandLine);
    return status ? *status : RunWindow(argc, argv);
  } catch (const std::exception& error) {
    fmt::print(stderr, "fieldpost: {}\n", error.what());
    return Failed;
  }
}
