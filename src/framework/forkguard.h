#pragma once

/// Makes every operation answer false or 0 in a process that is forked while the framework runs:
/// the host thread does not exist there, and waiting for it would never end.
void installForkGuard();

/// Whether this process was forked from one in which the framework was running.
bool isForkedFromRunning();
