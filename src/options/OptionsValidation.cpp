#include "options/OptionsValidation.h"

#include <algorithm>
#include <array>
#include <utility>

#include "common/PathText.h"
#include "common/Text.h"
#include "common/Utf8.h"

namespace fieldpost {
namespace {

constexpr std::string_view MissingOptionsTitle = "Missing Options";
constexpr std::string_view ConflictTitle = "Charged";

enum class FolderUse { Archive, Process, Latest };

struct FolderConflict {
  FolderButton button;
  FolderUse use;
  std::string_view message;
};

/// The conflicts of each button, in the order in which they are checked.
constexpr std::array<FolderConflict, 6> FolderConflicts{{
    {FolderButton::cmdArchiveFolder, FolderUse::Process, "This Directory is charged whit Process Files"},
    {FolderButton::cmdArchiveFolder, FolderUse::Latest, "This Directory is charged whit Latest Files"},
    {FolderButton::cmdProcessPath, FolderUse::Archive, "This Directory is charged whit Archive Files"},
    {FolderButton::cmdProcessPath, FolderUse::Latest, "This Directory is charged whit Latest Files"},
    {FolderButton::cmdBrowserAdd, FolderUse::Process, "This directory is charged whit Process files"},
    {FolderButton::cmdBrowserAdd, FolderUse::Archive, "This directory is charged whit Archive files"},
}};

bool IsSameFolder(std::string_view one, std::string_view other) {
  return WithSeparator(one) == WithSeparator(other);
}

bool IsUsedFor(FolderUse use, std::string_view folder, const OptionsValues& shown) {
  if (use == FolderUse::Archive) return IsSameFolder(folder, shown.settings.ArchiveFolder);
  if (use == FolderUse::Process) return IsSameFolder(folder, shown.settings.ProcessFolder);
  return std::ranges::any_of(shown.latestFolders, [&](const std::filesystem::path& latest) {
    return IsSameFolder(folder, Utf8FromPath(latest));
  });
}

bool IsMissing(const std::string& folder, const FileSystem& files) {
  return !folder.empty() && !files.IsFolder(PathFromUtf8(folder));
}

OptionsRefusal PathNotFound(std::string title, OptionsControl box) {
  return {.text = "Path not found!", .icon = MessageIcon::Critical, .title = std::move(title), .focus = box};
}

OptionsRefusal LatestRefusal(std::string text, std::size_t row) {
  return {.text = std::move(text), .title = {}, .focus = OptionsControl::LVPath, .row = row};
}

OptionsRefusal MissingOption(std::string text, OptionsPage page, OptionsControl control) {
  return {.text = std::move(text), .title = std::string(MissingOptionsTitle), .page = page, .focus = control};
}

std::optional<OptionsRefusal> FindLatestRefusal(const OptionsValues& shown, const FileSystem& files) {
  for (std::size_t row = 0; row < shown.latestFolders.size(); ++row) {
    const std::string folder = Utf8FromPath(shown.latestFolders[row]);
    if (folder == shown.settings.ProcessFolder) {
      return LatestRefusal("The LatestFolder and ProcessFolder can't be same", row);
    }
    if (!files.IsFolder(shown.latestFolders[row])) return LatestRefusal("Folder not found: " + folder, row);
  }
  return std::nullopt;
}

/// A relative path would depend on the folder that the program was started in. Not every library counts the
/// path of a network share as absolute.
bool IsFullPath(const std::filesystem::path& path) {
  return path.is_absolute() || Utf8FromPath(path).starts_with(std::string(2, PathSeparator));
}

}  // namespace

std::optional<OptionsRefusal> FindOptionsRefusal(const OptionsValues& shown, const FileSystem& files) {
  const MailSettings& settings = shown.settings;
  if (IsMissing(settings.ProcessFolder, files)) {
    return PathNotFound("ProcessFolder", OptionsControl::txtProcessFolder);
  }
  if (IsMissing(settings.ArchiveFolder, files)) {
    return PathNotFound("ArchiveFolder", OptionsControl::txtOutputFolder);
  }
  if (std::optional<OptionsRefusal> refusal = FindLatestRefusal(shown, files)) return refusal;
  if (shown.latestFolders.empty()) {
    return MissingOption("Latest folder(s) missing", OptionsPage::Folders, OptionsControl::txtInputFolder);
  }
  if (settings.SMTPServer.empty()) {
    return MissingOption("SMTP mail server missing", OptionsPage::MailServer, OptionsControl::txtSMTPserver);
  }
  return std::nullopt;
}

std::optional<OptionsRefusal> FindFolderConflict(FolderButton button, std::string_view chosen,
                                                 const OptionsValues& shown) {
  const auto conflicts = [&](const FolderConflict& conflict) {
    return conflict.button == button && IsUsedFor(conflict.use, chosen, shown);
  };
  const auto* const found = std::ranges::find_if(FolderConflicts, conflicts);
  if (found == FolderConflicts.end()) return std::nullopt;
  return OptionsRefusal{.text = std::string(found->message), .title = std::string(ConflictTitle)};
}

std::optional<OptionsRefusal> FindTypedFolderRefusal(std::string_view typed, const OptionsValues& shown,
                                                     const FileSystem& files) {
  const std::filesystem::path folder = PathFromUtf8(typed);
  if (IsFullPath(folder) && files.IsFolder(folder)) {
    return FindFolderConflict(FolderButton::cmdBrowserAdd, typed, shown);
  }
  const bool isOther = !typed.empty() && files.Exists(folder) && !files.IsFolder(folder);
  return OptionsRefusal{.text = isOther ? "Path not found! (Make sure you not insert filename)"
                                        : "Folder not found or path is incorrect",
                        .title = {},
                        .focus = OptionsControl::txtInputFolder};
}

std::string_view AcceptedPartnerID(std::string_view typed) {
  if (typed.empty() || !LettersAndDigits(typed.substr(typed.size() - 1)).empty()) return typed;
  return WithoutLastCharacter(typed);
}

}  // namespace fieldpost
