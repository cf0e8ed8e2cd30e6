#include "outbox/AttachmentPackaging.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "common/DocumentNames.h"
#include "common/PathText.h"
#include "environment/SettingValues.h"
#include "outbox/ZipArchive.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t WholeBar = 100;

}  // namespace

AttachmentPackaging::AttachmentPackaging(const RunContext& run, StatusDisplay& display)
    : run_(run), display_(display) {}

int AttachmentPackaging::CountMails(std::size_t attachments) const {
  const std::size_t perMail = AttachmentsPerMail(attachments);
  return static_cast<int>((std::max<std::size_t>(attachments, 1) + perMail - 1) / perMail);
}

std::size_t AttachmentPackaging::AttachmentsPerMail(std::size_t attachments) const {
  const std::size_t perMail = fieldpost::AttachmentsPerMail(run_.settings);
  return perMail == AllAttachments ? std::max<std::size_t>(attachments, 1) : perMail;
}

PackingResult AttachmentPackaging::ZipAttachments(Shipment& shipment) {
  const fs::path folder = ZipFolder(shipment.kind);
  if (!run_.files.IsFolder(folder)) return Fail("Process directory dosen't found", 0);
  if (shipment.attachments.empty()) return {};

  shipment.packed = std::exchange(shipment.attachments, {});
  PathList present;
  std::copy_if(shipment.packed.begin(), shipment.packed.end(), std::back_inserter(present),
               [this](const fs::path& file) { return run_.files.IsFile(file); });
  const std::string stem = DocumentStem(PrefixOf(shipment.kind), run_.settings.PartnerID, run_.clock.Now());
  const fs::path zip = folder / ZipName(stem);
  display_.SetRange(WholeBar);
  const ZipResult result = WriteZip(run_.files, present, zip, display_, [this](int percent) {
    display_.SetPosition(static_cast<std::size_t>(percent));
  });
  if (result.cancelled) return {.packed = false, .zipResult = result.code, .problem = {}};
  if (result.code != 0) return Fail(result.description, result.code);
  shipment.attachments.push_back(zip);
  return {.packed = true, .zipResult = 0, .problem = {}};
}

PackingResult AttachmentPackaging::Fail(std::string_view problem, std::int32_t zipResult) {
  run_.log.WriteLog(problem, LogCategory::Error);
  return {.packed = false, .zipResult = zipResult, .problem = std::string(problem)};
}

fs::path AttachmentPackaging::ZipFolder(DataKind kind) const {
  return kind == DataKind::Ppc ? run_.paths.FaultlogFolder("PPCTemp")
                               : PathFromUtf8(run_.settings.ProcessFolder);
}

bool AttachmentPackaging::ClearPPCTemp() {
  return DeleteFiles(run_.paths.FaultlogFolder("PPCTemp"), "");
}

bool AttachmentPackaging::DeleteZipFiles() {
  return DeleteFiles(PathFromUtf8(run_.settings.ProcessFolder), ".zip");
}

/// A file that cannot be deleted does not keep the others from being deleted.
bool AttachmentPackaging::DeleteFiles(const fs::path& folder, std::string_view ending) {
  if (!run_.files.IsFolder(folder)) {
    run_.log.WriteLog(fmt::format("Path not found ({})", Utf8FromPath(folder)), LogCategory::Error);
    return true;
  }
  bool all = true;
  const auto attempt = [&](const auto& step) {
    try {
      step();
    } catch (const FileError& error) {
      run_.log.WriteLog(error.what(), LogCategory::Error);
      all = false;
    }
  };
  std::vector<std::string> names;
  attempt([&] { names = run_.files.ListFiles(folder, ending); });
  for (const std::string& name : names) attempt([&] { run_.files.Remove(folder / PathFromUtf8(name)); });
  return all;
}

}  // namespace fieldpost
