#pragma once

namespace QXTools {

/// From here on the first SIGINT, SIGTERM or SIGHUP only raises a flag, so that the work ends at
/// the next molecule with everything tidied up; a second one ends the process at once.
void WatchForInterrupts();

/// True once one of the signals arrived.
bool Interrupted();

/// Ends the process by the signal that arrived, so that the shell knows. To be called last.
[[noreturn]] void EndByInterrupt();

}  // namespace QXTools
