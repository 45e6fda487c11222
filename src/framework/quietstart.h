#pragma once

#include <QtGlobal>

#include <string>

/// Hides side effects of the core application's construction from the host.
///
/// While it exists, Qt's warning about an application that is not on the main thread is dropped;
/// other messages pass. Its destructor restores the locale, which Qt sets from the environment.
///
/// Thread: constructed and destroyed on the host thread; one at a time.
class QuietStart
{
public:
    QuietStart();
    ~QuietStart();
    QuietStart(const QuietStart &) = delete;
    QuietStart &operator=(const QuietStart &) = delete;

private:
    const std::string m_locale;
};
