// Core dumps, which would contain passwords.
#pragma once

namespace fieldpost {

/// Disables core dumps of this process and of those that it starts, because the mail password could be read
/// in them. Ignored where the system does not support it.
void ForbidCoreDumps();

}  // namespace fieldpost
