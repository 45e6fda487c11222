#pragma once

#include "log/izelectronlogproxy.h"

#include <QString>

#include <atomic>

/// Loads the closed log library and writes through it; without the library it writes nothing.
///
/// Created by the application during initialize, deleted last in cleanup, both on the host thread.
/// The functions are found before the proxy is published, so the level operations need no lock. The
/// library is never unloaded.
class ZElectronLogProxy final : public IZElectronLogProxy
{
public:
    static constexpr char kLibrary[] = "libvemolog.so";

    ZElectronLogProxy() = default;
    ~ZElectronLogProxy() override;
    ZElectronLogProxy(const ZElectronLogProxy &) = delete;
    ZElectronLogProxy &operator=(const ZElectronLogProxy &) = delete;

    /// Finds the library's functions and names the log after the application.
    bool load();

    void info(const std::wstring &module, const std::wstring &message) override;
    void warning(const std::wstring &module, const std::wstring &message) override;
    void error(const std::wstring &module, const std::wstring &message) override;

    /// Writes one line at a level of the log library: L"Info", L"Warning" or L"Error".
    void write(const wchar_t *level, const wchar_t *module, const wchar_t *message);

    /// Whether the log library can write lines.
    bool isWriting() const { return m_writeMsg != nullptr; }

    /// The existing log directory of this executable, absolute; empty when there is none.
    QString getLogPath() const;

    /// Tells the log library that the process is about to quit.
    void aboutToQuit();

private:
    void nameLog();

    // Functions of the log library; each may be null.
    void (*m_onAboutToQuit)() = nullptr;
    void (*m_writeMsg)(const wchar_t *level, const wchar_t *module,
                       const wchar_t *message) = nullptr;
    void (*m_explicitDefineLogName)(const wchar_t *name) = nullptr;
    const wchar_t *(*m_getVemoLogSavePath)() = nullptr;
    void (*m_explicitDefineProductNameForLogPath)(const wchar_t *name) = nullptr;
};

/// The log proxy of the process, or null. Set by the application's initialize, cleared by the
/// proxy's destructor.
extern std::atomic<ZElectronLogProxy *> g_logProxy;
