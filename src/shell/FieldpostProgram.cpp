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
      run{ports.files, ports.clock, paths, settings, log},
      screen{ports.prompt, ports.display, flags},
      check(settings, settingsStore, registry, log, screen),
      sendLoop(run, screen, lists, check, ports.transport),
      scan(run, flags, lists, {tree, check, sendLoop, ports.prompt}),
      ppcDatabase(ports.files, paths, registry, ppcLibrary),
      ppcAttachments(run, ppcDatabase, ports.prompt),
      ppcRun(ppcAttachments, sendLoop, flags) {}

}  // namespace fieldpost
