// Deletes from an archive by one of the three rules, as the window does, for the fault sweep:
//
//   delete_archive ARCHIVE all
//   delete_archive ARCHIVE process PRODUCTCODE
//   delete_archive ARCHIVE selected FILE...
//
// The first failure goes to standard error, and then the exit status is 1.

#include <iostream>
#include <string_view>

#include "archive/ArchiveDeletion.h"
#include "common/StatusDisplay.h"
#include "platform/FileSystem.h"

namespace {

using namespace fieldpost;

DeletionResult Delete(ArchiveDeletion& deletion, std::string_view rule, std::span<char* const> rest) {
  StatusDisplay display;
  if (rule == "all") return deletion.DeleteAll(display);
  if (rule == "process") return deletion.DeleteProcess(rest.front(), display);
  return deletion.DeleteSelected({rest.begin(), rest.end()}, display);
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 3) return 2;
  const DiskFileSystem files;
  ArchiveDeletion deletion(files, arguments[1]);
  const std::span<char* const> rest(arguments + 3, static_cast<std::size_t>(count - 3));
  const DeletionResult result = Delete(deletion, arguments[2], rest);
  StatusDisplay display;
  deletion.RemoveEmptyProductFolders(display);
  if (result.failed > 0) std::cerr << result.firstFailure << '\n';
  return result.failed > 0 ? 1 : 0;
}
