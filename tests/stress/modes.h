#pragma once

#include "stress/run.h"

/// \file
/// The stress tests. Each prints one line of figures; what breaks goes to broken().

/// Calls, subscriptions and registrations from all threads while the library raises events and
/// sends messages: every reply once, in order; every event and message counted.
void runMixed(const Options &options);

/// Subscriptions that end, with their callbacks freed at once, while events arrive: from the own
/// thread, another one, inside the own callback and inside another one.
void runListeners(const Options &options);

/// Starts and stops: threads, descriptors and memory stay what they were.
void runRestart(const Options &options);

/// Stops while the library's threads deliver, before, during and after.
void runShutdown(const Options &options);

/// Against an account library that misbehaves at random, by the seed.
void runHostile(const Options &options);

/// Mixed runs for a long time, with a restart between them: memory and latency stay.
void runSoak(const Options &options);
