#pragma once

#include <string>

/// \file
/// Makes one call of the system fail. The program that links this defines the system's functions
/// itself and exports them, so that every library in the process meets them first.

enum class FaultKind { dlopen, dlsym, threads, files };

/// From now on calls of this kind are counted, in all threads, and number \p failing fails.
void armFault(FaultKind kind, long failing);

/// No further call fails or counts.
void disarmFault();

/// How many calls were counted.
long countedCalls();

/// What the failing call asked for: a library, a symbol, a file, or "thread"; empty when no call
/// failed.
std::string failedCall();
