#pragma once

#include "account/control.h"
#include "log/control.h"
#include "zelectronframework/zelectronframework.h"

#include <string>

/// The folder of the built libraries, found from where the test program lies.
std::string libraryFolder();

/// Loads the library as a host does and reaches the controls of both stand-ins.
///
/// One for the whole process, never destroyed: the library stays loaded anyway.
class LoadedLibrary
{
public:
    static LoadedLibrary &instance();

    zelectronframeworkspace::IElectronFramework &framework() { return *m_framework; }
    zefstandin::LogControl &log() { return *m_log; }

    /// Does not load the account stand-in itself, so that it is really unloaded after a run.
    zefstandin::AccountControl &account() { return *m_account; }

    /// Starts the framework with complete settings.
    /// \param extra further members of the settings' object, as ,"key":value text.
    bool start(const std::string &extra = {});

    /// Tells the stand-in of the account library what to do, as framework.mock() of the npm package.
    /// \return false when it could not.
    bool command(const std::string &json);

    /// The messages written to the log since the last reset of its control, as "Level message".
    std::vector<std::string> logLines();

private:
    LoadedLibrary();

    zelectronframeworkspace::IElectronFramework *m_framework = nullptr;
    zefstandin::LogControl *m_log = nullptr;
    zefstandin::AccountControl *m_account = nullptr;
};
