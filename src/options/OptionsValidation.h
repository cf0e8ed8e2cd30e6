// What the options dialog accepts, and what it says of the rest.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "common/UserPrompt.h"
#include "options/OptionsStore.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// The controls that a refusal may put the focus in.
enum class OptionsControl { txtProcessFolder, txtOutputFolder, LVPath, txtInputFolder, txtSMTPserver };

/// A message box, and where the dialog takes the user then.
struct OptionsRefusal {
  std::string text;
  MessageIcon icon = MessageIcon::Exclamation;
  std::string title{};  ///< empty for the program's own
  OptionsPage page = OptionsPage::Folders;
  std::optional<OptionsControl> focus{};
  std::optional<std::size_t> row{};  ///< the row of the Latest folders to select, from 0

  bool operator==(const OptionsRefusal&) const = default;
};

/// The first thing that keeps what the dialog shows from being saved; nothing when it may be. Folders are
/// compared as they are written, and case counts.
std::optional<OptionsRefusal> FindOptionsRefusal(const OptionsValues& shown, const FileSystem& files);

/// The buttons that choose a folder.
enum class FolderButton { cmdArchiveFolder, cmdProcessPath, cmdBrowserAdd };

/// Why a chosen folder cannot be what the button chooses it for: it serves for other files already. Nothing
/// when it can. A last separator more or less makes no difference.
std::optional<OptionsRefusal> FindFolderConflict(FolderButton button, std::string_view chosen,
                                                 const OptionsValues& shown);

/// Why a folder cannot be added to the Latest folders by typing it: it is a file, there is no such folder, it
/// is no full path, or it serves for other files already. Nothing when it can.
std::optional<OptionsRefusal> FindTypedFolderRefusal(std::string_view typed, const OptionsValues& shown,
                                                     const FileSystem& files);

/// A partner ID as it stands after a change of its box: without its last character when that is no ASCII
/// letter or digit. The other characters are not looked at.
std::string_view AcceptedPartnerID(std::string_view typed);

}  // namespace fieldpost
