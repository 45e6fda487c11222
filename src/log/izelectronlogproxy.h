#pragma once

#include <string>

/// Receives log lines; the account library gets one as well, may keep it until its uninit and may
/// use it on any thread.
///
/// The order of the virtual functions is part of the account library's binary interface.
class IZElectronLogProxy
{
public:
    virtual void info(const std::wstring &module, const std::wstring &message) = 0;
    virtual void warning(const std::wstring &module, const std::wstring &message) = 0;
    virtual void error(const std::wstring &module, const std::wstring &message) = 0;
    virtual ~IZElectronLogProxy() = default;
};
