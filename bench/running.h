#pragma once

#include "support/loadedlibrary.h"

#include <QByteArray>

#include <condition_variable>
#include <functional>
#include <mutex>

/// \file
/// The running library with stand-ins of no cost: the log library is there and writes nothing, the
/// account library answers at once.

/// Starts the framework, or starts it anew when it runs.
/// \param accounts the number of known accounts.
LoadedLibrary &startLibrary(int accounts = 0);

/// Reads the length of what arrives and keeps nothing.
class Sink final : public zelectronframeworkspace::IElectronCallback
{
public:
    void onCallback(const char *text, std::size_t length) override;

    /// The bytes of the last text.
    std::size_t length() const { return m_length; }

private:
    std::size_t m_length = 0;
};

/// Waits for replies that arrive on another thread.
class Arrivals final : public zelectronframeworkspace::IElectronCallback
{
public:
    void onCallback(const char *text, std::size_t length) override;

    /// Waits for so many arrivals and forgets them.
    void take(int count);

private:
    std::mutex m_mutex; // guards everything below
    std::condition_variable m_arrived;
    int m_count = 0;
    int m_wanted = 0;
};

/// Runs a function on the host thread and waits for its end.
void runOnHostThread(LoadedLibrary &library, std::function<void()> function);

/// Parameters of about so many bytes, one long text: for account.signLoginData.
QByteArray textParams(int bytes);

/// Parameters of about so many bytes, many short members: for accessbase.getDeviceHeader.
QByteArray memberParams(int bytes);

/// Parameters of about 1 kB in 43 members of all kinds, in no order, with text beyond ASCII: for any
/// method; those that read it find them in "deviceCode".
QByteArray mixedParams();
