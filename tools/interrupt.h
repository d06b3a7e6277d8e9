#pragma once

#include "tools/console.h"

namespace QXTools {

/// From here on, but for where an EndsAtOnce lives, the first SIGINT, SIGTERM, SIGHUP or SIGQUIT
/// only raises a flag, so that the work ends at the next molecule with everything tidied up; a
/// second one ends the process at once. A signal that was ignored before (nohup, jobs in the
/// background) stays ignored. SIGPIPE is ignored: a reader of the table that went away (`| head`)
/// must not keep the files from being finished. So is SIGXFSZ: a file that grows too large is an
/// error like a full disk.
void WatchForInterrupts();

/// True once one of the signals arrived.
bool Interrupted();
/// The same, told to the console.
bool WasInterrupted(Console& console);

/// While one lives, a signal ends the process at once: what runs cannot be asked to stop, and
/// leaves nothing that is worth keeping. Temporary files are removed. One at a time.
class EndsAtOnce {
 public:
  EndsAtOnce();
  ~EndsAtOnce();
  EndsAtOnce(const EndsAtOnce&) = delete;
  EndsAtOnce& operator=(const EndsAtOnce&) = delete;
};

/// Has such an end remove a file, of which `path` must stay where it is, until told that the file
/// is no longer there or no longer temporary. Only the first few at a time.
void RemoveWhenEnded(const char* path);
void KeepWhenEnded(const char* path);

/// Ends the process by the signal that arrived, so that the shell knows. To be called last.
[[noreturn]] void EndByInterrupt();

}  // namespace QXTools
