#include "HostLoop.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace tilvanego::program {
namespace {

constexpr std::array endingSignals{SIGINT, SIGTERM, SIGHUP};

// Of types that a signal handler may use.
volatile std::sig_atomic_t signalCaught = 0;
volatile std::sig_atomic_t signalWakeUp = -1;

void wake(int descriptor) {
  const std::uint64_t one = 1;
  static_cast<void>(!::write(descriptor, &one, sizeof one));
}

extern "C" void noteSignal(int number) {
  const int before = errno;
  signalCaught = number;
  wake(signalWakeUp);
  errno = before;
}

void drain(int descriptor) {
  std::uint64_t count = 0;
  static_cast<void>(!::read(descriptor, &count, sizeof count));
}

}  // namespace

HostLoop::HostLoop(RunLoop& loop, int input)
    : loop_(loop), input_(input), wakeUp_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  loop_.setWakeUp([descriptor = wakeUp_.get()] { wake(descriptor); });
  signalWakeUp = wakeUp_.get();
  for (const int number : endingSignals) std::signal(number, noteSignal);
}

HostLoop::~HostLoop() {
  for (const int number : endingSignals) std::signal(number, SIG_DFL);
  loop_.setWakeUp({});
}

int HostLoop::run(const LineHandler& handler) {
  for (;;) {
    loop_.runPending();
    if (signalCaught != 0) return signalCaught;
    if (const auto line = lines_.next()) {
      handler(*line);
      continue;
    }
    if (inputEnded_) return 0;
    if (waitForSomething()) readInput();
  }
}

/// Returns true if there is input.
bool HostLoop::waitForSomething() {
  std::array waiting{pollfd{wakeUp_.get(), POLLIN, 0}, pollfd{input_, POLLIN, 0}};
  if (::poll(waiting.data(), waiting.size(), -1) < 0) return false;
  if (waiting[0].revents != 0) drain(wakeUp_.get());
  return waiting[1].revents != 0;
}

void HostLoop::readInput() {
  std::array<char, 65536> chunk{};
  const ssize_t count = ::read(input_, chunk.data(), chunk.size());
  if (count > 0) {
    lines_.append({chunk.data(), static_cast<std::size_t>(count)});
  } else if (count == 0 || (errno != EINTR && errno != EAGAIN)) {
    lines_.close();
    inputEnded_ = true;
  }
}

}  // namespace tilvanego::program
