#pragma once

#include "storm/hostthread.h"

/// \file
/// The storms. Each prints one line of figures; what breaks goes to broken().

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

/// Mixed storms for a long time, with a restart between them: memory and latency stay.
void runSoak(const Options &options);

/// \name What the modes share
/// @{

/// Starts the framework with stand-ins that answer honestly and record nothing.
/// \param standin members of the settings' "standin" object, as JSON text.
void start(Storm &storm, const char *standin = "{}");

/// Stops it and notes that nothing may arrive any more.
void stop(Storm &storm);

/// Makes the callbacks of both task types; the meeting's is the first, the collecting one the last.
void addTasks(Storm &storm);
/// @}
