#pragma once

#include <atomic>

/// Makes every operation answer false or 0 in a process that is forked while the framework runs:
/// the host thread does not exist there, and waiting for it would never end.
void installForkGuard();

/// Lets the host thread rest when the process exits while the framework runs: exit destroys what Qt
/// and the closed libraries keep in static objects, and the host thread may be using it. Operations
/// answer false or 0 from then on. Waits at most half a second for what the thread is doing.
///
/// Static objects are destroyed in the reverse order of their construction, so this is called when
/// a start has made most of them. An exit handler that the host installs after init may still use
/// the framework.
void installExitGuard();

/// Whether the framework was given up in this process, by a fork or by an exit, while it ran.
bool isAbandoned();

/// Names the calling thread as the host thread, for as long as it lives.
class HostThreadScope
{
public:
    HostThreadScope();
    ~HostThreadScope();
    HostThreadScope(const HostThreadScope &) = delete;
    HostThreadScope &operator=(const HostThreadScope &) = delete;
};

/// Held while the host thread works on an event; without effect on any other thread. Never returns
/// from its constructor once the process exits.
class HostWorkScope
{
public:
    HostWorkScope();
    ~HostWorkScope();
    HostWorkScope(const HostWorkScope &) = delete;
    HostWorkScope &operator=(const HostWorkScope &) = delete;

private:
    bool m_isOutermost = false;
};
