#pragma once

#include "support/loadedlibrary.h"

#include <string>

/// The library in this process, with stand-ins that write no files and remember nothing.
class RunningLibrary
{
public:
    static RunningLibrary &instance();

    zelectronframeworkspace::IElectronFramework &framework() { return m_loaded.framework(); }
    zefstandin::AccountControl &account() { return m_loaded.account(); }

    /// Ends the process when the library does not start or stop as it must.
    void start();
    void stop();

private:
    RunningLibrary();

    LoadedLibrary &m_loaded = LoadedLibrary::instance();
};

/// The account stand-in is never unloaded: the fuzzer reads the counters of all code it has seen.
void keepStandInLoaded();

/// Ends the process with a message when \a holds is false.
void require(bool holds, const char *what, const std::string &text = {});
