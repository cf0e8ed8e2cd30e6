#include "shell/StartUp.h"

#include <array>
#include <memory>

#include "common/PathText.h"
#include "environment/RegistryKeys.h"
#include "shell/ComponentCheck.h"
#include "shell/KeepSecrets.h"
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
      {"XceedZip.dll",
       [&] {
         return std::make_shared<AttachmentPackaging>(ports.files, ports.clock, program_.paths,
                                                      program_.settings, program_.flags, program_.lists,
                                                      program_.log, ports.display);
       }},
  }};
  fieldpost::CheckComponents(components);
}

void StartUp::CreateFolderTree() {
  hadLog_ = program_.ports.files.IsFile(program_.log.TodaysFile());
  hadLatestList_ = program_.latestStore.IsStored();
  program_.tree.CreateFolderTree();
  KeepSecrets(program_.ports, program_.settingsStore, program_.log);
}

void StartUp::OpenDailyLogHeader(const std::function<void()>& loadOptions) {
  if (!hadLatestList_) loadOptions();
  if (!hadLog_) program_.log.WriteLog("----", LogCategory::LogFile);
}

void StartUp::RegisterProgramFolder() {
  program_.registry.CreateNewKey(HKEY_LOCAL_MACHINE, ProgramFolderKey);
  program_.registry.SetKeyValue(HKEY_LOCAL_MACHINE, ProgramFolderKey, DefaultValue,
                                Utf8FromPath(program_.paths.OwnFolder()), REG_SZ);
}

}  // namespace fieldpost
