#pragma once

#include <QtGlobal>

#include <string>

/// Keeps the construction of the core application from showing in the host's process.
///
/// While it lives, Qt's line about an application that is not on the main thread is dropped; every
/// other message goes where it went before. At its end the locale, which Qt sets from the
/// environment, is what it was.
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
