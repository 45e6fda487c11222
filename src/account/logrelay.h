#pragma once

#include "log/izelectronlogproxy.h"

/// The log proxy as the account library gets it.
///
/// Forwards to the log proxy of the process while the framework runs and drops the line otherwise,
/// so that a library thread which is still writing, or writes after shutdown, never meets a log
/// proxy that is being deleted.
///
/// \return the one relay of the process, which is never destroyed; null when there is no log proxy.
///
/// Thread: the relay is callable from any.
IZElectronLogProxy *logRelay();
