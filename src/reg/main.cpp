// fieldpost-reg: replaces the registry command of Windows.
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "platform/FileSystem.h"
#include "platform/ProgramFolder.h"
#include "platform/SqliteKeyStore.h"
#include "reg/RegCommand.h"

int main(int argc, char* argv[]) {
  try {
    const std::filesystem::path registry = fieldpost::RegistryFile();
    if (registry.empty()) {
      std::cerr << "fieldpost-reg: no home folder is known: set FIELDPOST_HOME\n";
      return fieldpost::RegFailed;
    }
    fieldpost::DiskFileSystem files;
    fieldpost::SqliteKeyStore keys(files, registry);
    const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    const int status = fieldpost::RunRegCommand(arguments, keys, std::cout, std::cerr);
    if (std::cout.flush()) return status;
    std::cerr << "fieldpost-reg: cannot write the result\n";
  } catch (const std::exception& error) {
    std::cerr << "fieldpost-reg: " << error.what() << '\n';
  }
  return fieldpost::RegFailed;
}
