// Marks documents as sent.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "platform/FileSystem.h"

namespace fieldpost {

/// Sets the root's `Mode` to "Sent" in each document, and tells `done` how many were worked through, before
/// each. What is missing, is no "*.xml" or does not load is left as it is. So many are made durable by one
/// flush that the flushes hardly count. Returns one line for each failure; the documents concerned are as
/// they were.
std::vector<std::string> MarkDocuments(FileSystem& files, std::span<const std::filesystem::path> documents,
                                       const std::function<void(std::size_t)>& done);

}  // namespace fieldpost
