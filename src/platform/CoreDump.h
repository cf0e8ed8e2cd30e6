// Keeps what the program has in its memory off the disk.
#pragma once

namespace fieldpost {

/// A program that dies from here on leaves no core file, in which the mail password could be read. Where the
/// system cannot do that, nothing happens. Programs started from this one inherit it.
void ForbidCoreDumps();

}  // namespace fieldpost
