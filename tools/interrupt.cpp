#include "interrupt.h"

#include <signal.h>
#include <unistd.h>

#include <atomic>

#include "musedata/score.h"

namespace musedata::tool {
namespace {

// The signals that ask the tool to stop.
constexpr int kStopSignals[] = {SIGINT, SIGTERM, SIGHUP};

// Written by the signal handler, read by every worker's progress handler.
std::atomic<int> g_signal{0};
static_assert(std::atomic<int>::is_always_lock_free, "the handler may only touch lock-free state");

void OnInterrupt(int number) {
  int first = 0;
  if (g_signal.compare_exchange_strong(first, number)) return;
  // Asked twice: no more waiting for the conversion to wind down.
  RemovePartialOutputs();
  _exit(128 + first);
}

}  // namespace

void InstallInterruptHandlers() {
  struct sigaction action {};
  action.sa_handler = OnInterrupt;
  sigemptyset(&action.sa_mask);
  // No SA_RESTART: a write blocked on a full pipe or a FIFO without a reader
  // returns, so that the writer can ask whether to stop.
  action.sa_flags = 0;
  for (const int number : kStopSignals) sigaction(number, &action, nullptr);
}

void KeepInterruptsAway() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : kStopSignals) sigaddset(&signals, number);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

int InterruptSignal() noexcept {
  return g_signal.load();
}

int InterruptedExitStatus() noexcept {
  return 128 + InterruptSignal();
}

const char* InterruptName() noexcept {
  switch (InterruptSignal()) {
    case SIGINT: return "SIGINT";
    case SIGTERM: return "SIGTERM";
    case SIGHUP: return "SIGHUP";
    default: return "a signal";
  }
}

}  // namespace musedata::tool
