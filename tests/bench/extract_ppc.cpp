// Does the PPC collection alone, without a mail.
//
//   extract_ppc HOME            cuts HOME/PPCData.xml, which it deletes, into documents in
//   HOME/Faultlog/PPCTemp extract_ppc HOME DATABASE   has the database, a folder, exported to
//   HOME/PPCData.xml first

#include <iostream>
#include <string>

#include "common/PathText.h"
#include "environment/RegistryKeys.h"
#include "platform/SqliteKeyStore.h"
#include "shell/FieldpostProgram.h"

namespace {

class NoTransport final : public fieldpost::MailTransport {
 public:
  [[nodiscard]] fieldpost::MailOutcome Send(const fieldpost::MailServer&, const fieldpost::Mail&,
                                            const std::function<void()>&) override {
    return {};
  }
};

int Run(const std::filesystem::path& home, const std::string& database) {
  using namespace fieldpost;
  DiskFileSystem files;
  const SystemClock clock;
  SqliteKeyStore keys(files, home / "registry.sqlite");
  NoTransport transport;
  UserPrompt prompt;
  StatusDisplay display;
  FieldpostProgram program({files, clock, keys, transport, prompt, display}, home);
  program.settings.PartnerID = "4711";
  program.tree.CreateFolderTree();
  if (!database.empty()) {
    program.registry.CreateNewKey(HKEY_LOCAL_MACHINE, PpcDatabaseKey);
    program.registry.SetKeyValue(HKEY_LOCAL_MACHINE, PpcDatabaseKey, PpcFileNameValue, database, REG_SZ);
  }
  return program.ppcAttachments.MakePPCFilesQuiet(display).documents.empty() ? 1 : 0;
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 2) return 2;
  return Run(fieldpost::PathFromUtf8(arguments[1]), count > 2 ? arguments[2] : "");
}
