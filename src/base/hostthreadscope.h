#pragma once

/// Makes the calling thread the host thread, for as long as it lives.
class HostThreadScope
{
public:
    HostThreadScope();
    ~HostThreadScope();
    HostThreadScope(const HostThreadScope &) = delete;
    HostThreadScope &operator=(const HostThreadScope &) = delete;

    /// Whether the calling thread is the host thread.
    static bool isCurrent();
};

/// Exists while the host thread handles an event; without effect on other threads. The exit of the
/// process waits for it, half a second at most, because exit destroys the static objects of Qt and
/// of the closed libraries. After that, its constructor blocks the host thread forever.
class HostWorkScope
{
public:
    HostWorkScope();
    ~HostWorkScope();
    HostWorkScope(const HostWorkScope &) = delete;
    HostWorkScope &operator=(const HostWorkScope &) = delete;

    /// How many of these are nested on the calling thread.
    static int depth();

    /// For the exit handler: waits for the host thread, after which it works no more.
    static void waitAtExit();
    /// The host thread itself has found out that the process exits.
    [[noreturn]] static void restForever();
    /// In a child process, which has no host thread.
    static void forget();
};
