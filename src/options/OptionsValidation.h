// The checks of the options dialog.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "common/UserPrompt.h"
#include "options/OptionsStore.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// The controls that a refusal may give the focus to.
enum class OptionsControl { txtProcessFolder, txtOutputFolder, LVPath, txtInputFolder, txtSMTPserver };

/// A refusal: the message box, and the page, control and row that the dialog shows after it.
struct OptionsRefusal {
  std::string text;
  MessageIcon icon = MessageIcon::Exclamation;
  std::string title{};  ///< empty for the program's own
  OptionsPage page = OptionsPage::Folders;
  std::optional<OptionsControl> focus{};
  std::optional<std::size_t> row{};  ///< the row of the Latest folders to select, from 0

  bool operator==(const OptionsRefusal&) const = default;
};

/// Returns the first reason why the shown values cannot be saved; nothing when they can. Folders are compared
/// as texts, with regard to case.
std::optional<OptionsRefusal> FindOptionsRefusal(const OptionsValues& shown, const FileSystem& files);

/// The buttons that choose a folder.
enum class FolderButton { cmdArchiveFolder, cmdProcessPath, cmdBrowserAdd };

/// Returns why a chosen folder cannot be used for the purpose of the button: it holds other files already.
/// Nothing when it can. A separator at the end makes no difference.
std::optional<OptionsRefusal> FindFolderConflict(FolderButton button, std::string_view chosen,
                                                 const OptionsValues& shown);

/// Returns why a typed folder cannot be added to the Latest folders: it is a file, is missing, is not an
/// absolute path, or holds other files already. Nothing when it can.
std::optional<OptionsRefusal> FindTypedFolderRefusal(std::string_view typed, const OptionsValues& shown,
                                                     const FileSystem& files);

/// Returns a typed partner ID without its last character when that is not an ASCII letter or digit. The other
/// characters are not checked.
std::string_view AcceptedPartnerID(std::string_view typed);

}  // namespace fieldpost
