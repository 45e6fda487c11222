#pragma once

#include "log/izelectronlogproxy.h"

/// The log proxy that the account library receives.
///
/// It forwards lines to the log proxy of the process while the framework runs and drops them
/// otherwise, so that a library thread which writes during or after shutdown never uses a deleted
/// log proxy.
///
/// \return the one relay of the process, which is never destroyed; null when there is no log proxy.
///
/// Thread: the relay is callable from any.
IZElectronLogProxy *logRelay();
