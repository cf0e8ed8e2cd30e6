#include "outbox/AttachmentPackaging.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "common/DocumentNames.h"
#include "common/Numbers.h"
#include "common/PathText.h"
#include "outbox/ZipArchive.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t NoLimit = 10;
constexpr std::int32_t HighestChoice = 9;
constexpr std::size_t WholeBar = 100;

}  // namespace

AttachmentPackaging::AttachmentPackaging(FileSystem& files, const Clock& clock, const InstallPaths& paths,
                                         const MailSettings& settings, const RunFlags& flags, RunLists& lists,
                                         ModWriteLogFile& log, StatusDisplay& display)
    : files_(files),
      clock_(clock),
      paths_(paths),
      settings_(settings),
      flags_(flags),
      lists_(lists),
      log_(log),
      display_(display) {}

std::size_t AttachmentPackaging::ConfiguredPerMail() const {
  return static_cast<std::size_t>(NumberOr(settings_.NumAttachments, 0, HighestChoice, 0)) + 1;
}

int AttachmentPackaging::CountMails() const {
  const std::size_t count = lists_.Attachments.size();
  const std::size_t perMail = ConfiguredPerMail();
  if (count <= perMail || perMail == NoLimit) return 1;
  return static_cast<int>((count + perMail - 1) / perMail);
}

std::size_t AttachmentPackaging::AttachmentsPerMail() const {
  const std::size_t perMail = ConfiguredPerMail();
  return perMail == NoLimit ? std::max<std::size_t>(lists_.Attachments.size(), 1) : perMail;
}

bool AttachmentPackaging::ZipAttachments(PathList& list) {
  problem_.clear();
  const fs::path folder = ZipFolder();
  if (!files_.IsFolder(folder)) return Fail("Process directory dosen't found");
  if (list.empty()) return false;

  PathList present;
  std::copy_if(list.begin(), list.end(), std::back_inserter(present),
               [this](const fs::path& file) { return files_.IsFile(file); });
  lists_.PackedFiles.insert(lists_.PackedFiles.end(), list.begin(), list.end());
  list.clear();

  const std::string_view prefix = flags_.SendingPPC ? PpcPrefix : FaultlogPrefix;
  const fs::path zip = folder / ZipName(DocumentStem(prefix, settings_.PartnerID, clock_.Now()));
  display_.SetRange(WholeBar);
  const ZipResult result = WriteZip(files_, present, zip, display_, [this](int percent) {
    display_.SetPosition(static_cast<std::size_t>(percent));
  });
  lastZipResult_ = result.code;
  if (result.stopped) return false;
  if (result.code != 0) return Fail(result.description);
  list.push_back(zip);
  return true;
}

bool AttachmentPackaging::Fail(std::string_view problem) {
  problem_ = problem;
  log_.WriteLog(problem, LogCategory::Error);
  return false;
}

fs::path AttachmentPackaging::ZipFolder() const {
  return flags_.SendingPPC ? paths_.FaultlogFolder("PPCTemp") : PathFromUtf8(settings_.ProcessFolder);
}

bool AttachmentPackaging::ClearPPCTemp() {
  return DeleteFiles(paths_.FaultlogFolder("PPCTemp"), "");
}

bool AttachmentPackaging::DeleteZipFiles() {
  return DeleteFiles(PathFromUtf8(settings_.ProcessFolder), ".zip");
}

/// One that cannot be deleted does not keep the others.
bool AttachmentPackaging::DeleteFiles(const fs::path& folder, std::string_view ending) {
  if (!files_.IsFolder(folder)) {
    log_.WriteLog(fmt::format("Path not found ({})", Utf8FromPath(folder)), LogCategory::Error);
    return true;
  }
  bool all = true;
  const auto attempt = [&](const auto& step) {
    try {
      step();
    } catch (const FileError& error) {
      log_.WriteLog(error.what(), LogCategory::Error);
      all = false;
    }
  };
  std::vector<std::string> names;
  attempt([&] { names = files_.ListFiles(folder, ending); });
  for (const std::string& name : names) attempt([&] { files_.Remove(folder / PathFromUtf8(name)); });
  return all;
}

}  // namespace fieldpost
