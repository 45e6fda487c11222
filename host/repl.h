#pragma once

#include "session.h"

namespace zefhost {

/// Takes commands from standard input until its end or "quit". On a terminal there is a prompt with
/// history and completion; the history is kept in memory only, because parameters may contain
/// secrets.
void runPrompt(Session &session, Printer &printer);

} // namespace zefhost
