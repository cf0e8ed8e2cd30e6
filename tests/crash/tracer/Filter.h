// A filter in the kernel stops a traced process at chosen system calls alone; all others cost nothing.
#pragma once

#include <span>

namespace fieldpost::tracer {

/// From now on this process and those that it starts stop for their tracer at these system calls. Returns
/// false when the system refuses the filter.
bool StopAt(std::span<const long> calls, std::span<const long> moreCalls);

}  // namespace fieldpost::tracer
