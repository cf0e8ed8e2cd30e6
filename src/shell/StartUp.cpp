#include "shell/StartUp.h"

#include <array>
#include <memory>

#include "common/PathText.h"
#include "environment/RegistryKeys.h"
#include "shell/ComponentCheck.h"
#include "shell/RunPreparation.h"
#include "smtp/SmtpMail.h"
#include "xml/XmlDocument.h"

namespace fieldpost {

void StartUp::CheckComponents() {
  const Ports& ports = program_.ports;
  const std::filesystem::path& ownFolder = program_.paths.OwnFolder();
  const std::array<Component, 5> components{{
      {"FieldpostS.DLL", [&] { return std::make_shared<MailSettingsStore>(ports.files, ownFolder); }},
      {"Scrrun.DLL", [] { return std::make_shared<DiskFileSystem>(); }},
      {"MSXML.DLL", [] { return std::make_shared<XmlDocument>(); }},
      {"SMTPmail.DLL", [&] { return std::make_shared<SmtpMail>(ports.files, ports.clock, ports.display); }},
      {"XceedZip.dll", [&] { return std::make_shared<AttachmentPackaging>(program_.run, ports.display); }},
  }};
  fieldpost::CheckComponents(components);
}

StartState StartUp::CreateFolderTree() {
  const StartState before{.hadLog = program_.ports.files.IsFile(program_.log.TodaysFile()),
                          .hadLatestList = program_.latestStore.IsStored()};
  // What could not be created is in the log; the window works with the rest.
  static_cast<void>(PrepareFolders(program_));
  return before;
}

void StartUp::OpenDailyLogHeader(const StartState& before, const std::function<void()>& loadOptions) {
  if (!before.hadLatestList) loadOptions();
  if (!before.hadLog) program_.log.WriteLog("----", LogCategory::LogFile);
}

void StartUp::RegisterProgramFolder() {
  program_.registry.CreateNewKey(HKEY_LOCAL_MACHINE, ProgramFolderKey);
  program_.registry.SetKeyValue(HKEY_LOCAL_MACHINE, ProgramFolderKey, DefaultValue,
                                Utf8FromPath(program_.paths.OwnFolder()), REG_SZ);
}

}  // namespace fieldpost
