// Runs a command and prints what it cost: wall-clock seconds, processor seconds (user and system), those
// of them in user mode, peak memory in kilobytes. A process's peak counts from before its program is loaded,
// so the one that starts it must be small.

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <chrono>
#include <iostream>

extern char** environ;

namespace {

double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 2) return 2;
  const auto begin = std::chrono::steady_clock::now();
  pid_t process = 0;
  if (posix_spawn(&process, arguments[1], nullptr, nullptr, arguments + 1, environ) != 0) return 2;
  int status = 0;
  rusage usage{};
  if (wait4(process, &status, 0, &usage) != process) return 2;
  const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - begin;
  std::cout << wall.count() << ' ' << Seconds(usage.ru_utime) + Seconds(usage.ru_stime) << ' '
            << Seconds(usage.ru_utime) << ' ' << usage.ru_maxrss << '\n';
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
