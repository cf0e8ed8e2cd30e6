// Stops a program at the system calls that change files, and at no other:
//
//   call_tracer --record FILE [--attempts] [--socket-marks] -- PROGRAM ARGUMENTS
//   call_tracer --count FILE -- PROGRAM ARGUMENTS
//   call_tracer --kill N -- PROGRAM ARGUMENTS
//   call_tracer --fault KIND --at N [--from-then-on] [--record FILE] -- PROGRAM ARGUMENTS
//
// The calls of the program, its threads and all that it starts are counted together, from 1, as they begin,
// whether they succeed or not. So a number means the same call in every run on the same files.
//
// Counted: opening for writing, emptying or creating; writing, truncating and growing regular files; copying
// into them; renaming, linking and removing names; making folders; permissions; flushes; closing what was
// open for writing. Not counted: sockets, pipes, devices, /proc, /sys, and the tracer's own standard output
// and error. Not seen: what is written through a mapping.
//
// --record writes a line of JSON for each call that succeeded: "n" and "call", with "path" and
//   create (mode truncated existed; any open for writing), write (offset data), rename, link, symlink
//   (to existed), unlink, rmdir, mkdir (mode), truncate (size), chmod (mode), fsync (folder), syncfs, close.
//   Data is in base64. With --attempts failed calls are recorded, too, with "error", and each line lists in
//   "faults" the kinds that the call can have. With --socket-marks there are lines without a number, send and
//   recv (data), for what went through sockets.
// --count writes how many calls there were; it combines with any other option.
// --kill kills the program and its children just before call N is made.
// --fault makes call N fail: ENOSPC EIO EACCES EROFS EMFILE EINTR EXDEV; short (half of the bytes are
// written);
//   torn (half are written and the call fails with EIO); close (the close is done and fails with EIO). A call
//   that cannot fail that way succeeds. With --from-then-on all later calls fail that way, too. An
//   interrupted call succeeds when it is tried again, and with too many open files opening for reading fails
//   as well.
//
// Exit status: the program's own (128 and the signal's number when it died by one); 137 killed at call N;
// 100 more than the program's own when it ended before call N; 125 the tracer itself failed; 2 wrong use.

#include <iostream>

#include "crash/tracer/Options.h"
#include "crash/tracer/Tracer.h"

int main(int count, char** arguments) {
  const std::optional<fieldpost::tracer::Options> options = fieldpost::tracer::ReadOptions(count, arguments);
  if (!options) {
    std::cerr
        << "usage: call_tracer [--record FILE [--attempts] [--socket-marks]] [--count FILE]\n"
           "                   [--kill N] [--fault KIND --at N [--from-then-on]] -- PROGRAM ARGUMENTS\n";
    return 2;
  }
  return fieldpost::tracer::Tracer(*options).Run();
}
