// Has the system stop a process at chosen calls alone, so that all others cost nothing.
#pragma once

#include <span>

namespace fieldpost::tracer {

/// From now on this process and those that it starts stop for their tracer at these system calls. False when
/// the system refuses.
bool StopAt(std::span<const long> calls, std::span<const long> moreCalls);

}  // namespace fieldpost::tracer
