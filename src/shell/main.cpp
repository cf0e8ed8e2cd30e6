// The program's entry: an unattended run when the command line is one of the switches.
#include <fmt/format.h>

#include <cstdio>
#include <exception>

#include "mail/SmtpMail.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"
#include "platform/ProgramFolder.h"
#include "platform/SqliteKeyStore.h"
#include "shell/CommandLine.h"
#include "shell/FieldpostProgram.h"
#include "shell/ModFPHide.h"

namespace {

constexpr int Done = 0;
constexpr int Failed = 1;
constexpr int NoWindow = 2;

int Run(const std::string& commandLine) {
  using namespace fieldpost;
  DiskFileSystem files;
  const SystemClock clock;
  StatusDisplay display;
  UserPrompt prompt;
  const std::filesystem::path ownFolder = OwnFolder();
  MakeOwnFolder(files, ownFolder);
  SqliteKeyStore keys(files, RegistryFile());
  SmtpMail transport(files, clock, display);
  FieldpostProgram program({files, clock, keys, transport, prompt, display}, ownFolder);
  ModFPHide unattended(program);
  if (unattended.RunCommandLine(commandLine)) return unattended.Succeeded() ? Done : Failed;
  fmt::print(stderr,
             "fieldpost: this version has no window yet. Start it with -fc (collect), -fs (send what waits), "
             "-fcs (collect and send) or -ps (send PPC data).\n");
  return NoWindow;
}

}  // namespace

int main(int argc, char* argv[]) {
  try {
    return Run(fieldpost::JoinArguments({argv, static_cast<std::size_t>(argc)}));
  } catch (const std::exception& error) {
    fmt::print(stderr, "fieldpost: {}\n", error.what());
    return Failed;
  }
}
