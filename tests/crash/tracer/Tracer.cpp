#include "crash/tracer/Tracer.h"

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>

#include "crash/tracer/Filter.h"

#ifndef __x86_64__
#error "the call tracer knows the registers of x86-64 alone"
#endif

namespace fieldpost::tracer {
namespace {

constexpr std::array<long, 6> SocketCalls{SYS_sendto,  SYS_sendmsg, SYS_recvfrom,
                                          SYS_recvmsg, SYS_read,    SYS_readv};

user_regs_struct Registers(pid_t thread) {
  user_regs_struct registers{};
  ::ptrace(PTRACE_GETREGS, thread, nullptr, &registers);
  return registers;
}

Call CallIn(const user_regs_struct& registers) {
  return {
      .number = static_cast<long>(registers.orig_rax),
      .arguments = {registers.rdi, registers.rsi, registers.rdx, registers.r10, registers.r8, registers.r9}};
}

void SetResult(pid_t thread, std::int64_t result) {
  user_regs_struct registers = Registers(thread);
  registers.rax = static_cast<unsigned long long>(result);
  ::ptrace(PTRACE_SETREGS, thread, nullptr, &registers);
}

/// Prevents the call; the program sees the error as its result.
void Skip(pid_t thread, int error) {
  user_regs_struct registers = Registers(thread);
  registers.orig_rax = static_cast<unsigned long long>(-1);
  registers.rax = static_cast<unsigned long long>(-std::int64_t{error});
  ::ptrace(PTRACE_SETREGS, thread, nullptr, &registers);
}

/// Makes the call write half of its bytes; of a list of buffers half of the first one.
void Halve(pid_t thread) {
  user_regs_struct registers = Registers(thread);
  const bool list = registers.orig_rax != SYS_write && registers.orig_rax != SYS_pwrite64;
  if (list) {
    const TracedProcess process(thread);
    const std::uint64_t first = registers.rsi;
    registers.orig_rax = registers.orig_rax == SYS_writev ? SYS_write : SYS_pwrite64;
    registers.rsi = process.Number(first);
    registers.rdx = process.Number(first + sizeof(std::uint64_t));
  }
  registers.rdx = registers.rdx > 1 ? registers.rdx / 2 : registers.rdx;
  ::ptrace(PTRACE_SETREGS, thread, nullptr, &registers);
}

bool OpensAnything(const Call& call) {
  return call.number == SYS_open || call.number == SYS_openat;
}

bool Sends(const Call& call) {
  return call.number == SYS_sendto || call.number == SYS_sendmsg || call.number == SYS_write ||
         call.number == SYS_writev;
}

/// Returns the bytes that went through a socket; of a list of buffers those of the first ones that hold them.
std::string SocketBytes(const TracedProcess& process, const Call& call, std::uint64_t count) {
  const bool message = call.number == SYS_sendmsg || call.number == SYS_recvmsg;
  const bool list = message || call.number == SYS_writev || call.number == SYS_readv;
  if (!list) return process.Bytes(call.arguments[1], count);
  constexpr std::uint64_t width = sizeof(std::uint64_t);
  std::uint64_t part = message ? process.Number(call.arguments[1] + 2 * width) : call.arguments[1];
  std::string bytes;
  for (; bytes.size() < count; part += 2 * width) {
    const std::uint64_t size = std::min<std::uint64_t>(process.Number(part + width), count - bytes.size());
    const std::string more = process.Bytes(process.Number(part), size);
    if (more.size() < size) break;
    bytes += more;
  }
  return bytes;
}

}  // namespace

Tracer::Tracer(const Options& options) : options_(options) {
  if (!options.record.empty()) record_.open(options.record, std::ios::binary | std::ios::trunc);
}

int Tracer::Run() {
  if (!options_.record.empty() && !record_) return CannotTrace;
  if (!Start()) return CannotTrace;
  for (;;) {
    int status = 0;
    const pid_t thread = ::waitpid(-1, &status, __WALL);
    if (thread < 0 && errno == EINTR) continue;
    if (thread < 0) break;
    Handle(thread, status);
  }
  return FinishFiles() ? Status() : CannotTrace;
}

/// Returns false when one of the requested files could not be written.
bool Tracer::FinishFiles() {
  if (!options_.count.empty()) {
    std::ofstream count(options_.count);
    if (!(count << calls_ << std::endl)) return false;
  }
  record_.close();
  return options_.record.empty() || record_;
}

/// The program waits at a gate until the tracer is attached.
bool Tracer::Start() {
  std::array<int, 2> gate{};
  if (::pipe2(gate.data(), O_CLOEXEC) != 0) return false;
  program_ = ::fork();
  if (program_ < 0) return false;
  if (program_ == 0) BecomeTheProgram(gate[0]);
  constexpr auto wanted = PTRACE_O_TRACESECCOMP | PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK |
                          PTRACE_O_TRACECLONE | PTRACE_O_TRACEEXEC | PTRACE_O_TRACESYSGOOD |
                          PTRACE_O_EXITKILL;
  const bool held = ::ptrace(PTRACE_SEIZE, program_, nullptr, wanted) == 0;
  const bool opened = ::write(gate[1], "x", 1) == 1;
  ::close(gate[0]);
  ::close(gate[1]);
  return held && opened;
}

void Tracer::BecomeTheProgram(int gate) const {
  char signal = 0;
  const bool open = ::read(gate, &signal, 1) == 1;
  const std::span<const long> sockets = options_.socketMarks ? SocketCalls : std::span<const long>();
  if (open && StopAt(CallsThatMayChange(), sockets)) ::execvp(*options_.program, options_.program);
  ::_exit(CannotTrace);
}

void Tracer::Handle(pid_t thread, int status) {
  if (WIFEXITED(status) || WIFSIGNALED(status)) {
    if (thread == program_) programStatus_ = status;
    pending_.erase(thread);
    interrupted_.erase(thread);
    return;
  }
  const int event = static_cast<int>(static_cast<unsigned>(status) >> 16U);
  if (event == PTRACE_EVENT_SECCOMP) return Begin(thread);
  if (WSTOPSIG(status) == (SIGTRAP | 0x80)) return End(thread);
  const bool ofTheTracer = event != 0 || WSTOPSIG(status) == SIGTRAP;
  ::ptrace(PTRACE_CONT, thread, nullptr, ofTheTracer ? 0 : WSTOPSIG(status));
}

void Tracer::Begin(pid_t thread) {
  const Call call = CallIn(Registers(thread));
  std::optional<ChangingCall> change = Describe(TracedProcess(thread), call);
  if (change) return BeginChange(thread, call, std::move(*change));
  BeginOther(thread, call);
}

void Tracer::BeginChange(pid_t thread, const Call& call, ChangingCall change) {
  Pending pending{.call = call, .change = std::move(change), .number = ++calls_};
  if (calls_ == options_.kill) return KillAll(thread);
  if (MustFail(thread, call, *pending.change)) Break(thread, pending);
  pending_.insert_or_assign(thread, std::move(pending));
  ::ptrace(PTRACE_SYSCALL, thread, nullptr, 0);
}

/// Handles a call that changes nothing. With too many open files, opening for reading fails, too.
void Tracer::BeginOther(pid_t thread, const Call& call) {
  const bool tooMany = options_.fault == Fault::TooManyFiles && options_.fromThenOn && calls_ >= options_.at;
  if (tooMany && OpensAnything(call)) Skip(thread, EMFILE);
  const bool marked = options_.socketMarks && !OpensAnything(call) && call.number != SYS_close;
  const std::optional<OpenFile> file =
      marked ? TracedProcess(thread).FileOf(static_cast<int>(call.arguments[0])) : std::nullopt;
  if (file && file->socket) pending_.insert_or_assign(thread, Pending{.call = call});
  ::ptrace(file && file->socket ? PTRACE_SYSCALL : PTRACE_CONT, thread, nullptr, 0);
}

/// An interrupted call succeeds when it is tried again at once: nothing is interrupted for ever.
bool Tracer::MustFail(pid_t thread, const Call& call, const ChangingCall& change) {
  if (!options_.fault || !CanHave(change.change, *options_.fault)) return false;
  if (calls_ < options_.at || (calls_ > options_.at && !options_.fromThenOn)) return false;
  if (options_.fault != Fault::Interrupted) return true;
  const auto last = interrupted_.find(thread);
  const bool again = last != interrupted_.end() && last->second == call;
  if (again) {
    interrupted_.erase(last);
  } else {
    interrupted_.insert_or_assign(thread, call);
  }
  return !again;
}

/// A failing close has closed the descriptor, and a torn write has written half of its bytes; any other
/// failing call is not made at all.
void Tracer::Break(pid_t thread, Pending& pending) {
  const Fault fault = *options_.fault;
  if (fault == Fault::Short || fault == Fault::Torn) Halve(thread);
  pending.error = ErrorOf(fault);
  const bool made = fault == Fault::Short || fault == Fault::Torn || pending.change->change == Change::Close;
  if (!made) Skip(thread, pending.error);
}

void Tracer::End(pid_t thread) {
  const auto found = pending_.find(thread);
  if (found != pending_.end()) {
    const Pending pending = std::move(found->second);
    pending_.erase(found);
    if (pending.error != 0) SetResult(thread, -pending.error);
    const auto result = static_cast<std::int64_t>(Registers(thread).rax);
    if (!pending.change) {
      MarkSocket(thread, pending.call, result);
    } else if (record_.is_open() && (result >= 0 || options_.attempts)) {
      std::string line = Line(pending.number, *pending.change, TracedProcess(thread), pending.call, result);
      if (options_.attempts) {
        line.pop_back();
        line += ",\"faults\":[" + FaultNames(pending.change->change) + "]}";
      }
      record_ << line << '\n';
    }
  }
  ::ptrace(PTRACE_CONT, thread, nullptr, 0);
}

void Tracer::MarkSocket(pid_t thread, const Call& call, std::int64_t result) {
  if (result <= 0) return;
  const std::string bytes = SocketBytes(TracedProcess(thread), call, static_cast<std::uint64_t>(result));
  record_ << "{\"call\":\"" << (Sends(call) ? "send" : "recv") << "\",\"data\":" << JsonBytes(bytes) << "}\n";
}

/// The call is prevented first, so that not a byte of it is written.
void Tracer::KillAll(pid_t thread) {
  killed_ = true;
  Skip(thread, EINTR);
  ::kill(program_, SIGKILL);
  ::kill(thread, SIGKILL);
  for (const auto& [other, _] : pending_) ::kill(other, SIGKILL);
}

int Tracer::Status() const {
  if (killed_) return Killed;
  const int status = WIFEXITED(programStatus_) ? WEXITSTATUS(programStatus_) : 128 + WTERMSIG(programStatus_);
  return calls_ < options_.Goal() ? EndedBefore + status : status;
}

}  // namespace fieldpost::tracer
