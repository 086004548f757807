#pragma once

// Ctrl-C, kill and a closed terminal (SIGINT, SIGTERM, SIGHUP) stop a
// conversion the way a host's progress handler does: the next progress event
// cancels, the writers remove their temporary files, and the tool exits with
// 128 + the signal's number. A second signal ends the process at once, after
// removing the temporary files of every write still under way.

namespace musedata::tool {

// Installs the handlers; call once, first thing in main.
void InstallInterruptHandlers();

// Leaves the signals above to the process's other threads, for a thread
// whose waits should run to their end rather than be broken off.
void KeepInterruptsAway();

// The signal that asked the tool to stop, or 0.
int InterruptSignal() noexcept;

// Whether a signal asked the tool to stop; for progress handlers, which set
// their cancel flag from it.
inline bool IsInterrupted() noexcept {
  return InterruptSignal() != 0;
}

// The exit status after an interruption: 128 + the signal's number.
int InterruptedExitStatus() noexcept;

// "SIGINT", "SIGTERM" or "SIGHUP" for the signal that stopped the tool.
const char* InterruptName() noexcept;

}  // namespace musedata::tool
