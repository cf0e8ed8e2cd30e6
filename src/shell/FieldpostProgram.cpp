#include "shell/FieldpostProgram.h"

namespace fieldpost {

FieldpostProgram::FieldpostProgram(const Ports& given, const std::filesystem::path& ownFolder)
    : ports(given),
      registry(ports.keys),
      paths(ports.files, registry, ownFolder),
      log(ports.files, ports.clock, paths),
      settingsStore(ports.files, ownFolder),
      settings(settingsStore.Load()),
      latestStore(ports.files, ownFolder),
      optionsStore(ports.files, ports.keys, settings, lists.LatestFolderList, ownFolder),
      tree(ports.files, paths, {settings, settingsStore, lists.LatestFolderList, latestStore}, log),
      check(settings, settingsStore, flags, registry, log, ports.prompt, ports.display),
      packaging(ports.files, ports.clock, paths, settings, flags, lists, log, ports.display),
      sendLoop(ports.files, ports.clock, settings, flags, lists, log, check, packaging, ports.transport,
               ports.prompt, ports.display),
      scan({ports.files, ports.clock, paths, settings, log}, flags, lists,
           {tree, check, sendLoop, ports.prompt}),
      ppcDatabase(ports.files, paths, registry, ppcLibrary),
      ppcAttachments(ports.files, ports.clock, paths, settings, lists, ppcDatabase, log, ports.prompt),
      ppcRun(ppcAttachments, sendLoop, flags, lists) {}

}  // namespace fieldpost
