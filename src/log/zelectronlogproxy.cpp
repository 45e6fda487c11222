#include "log/zelectronlogproxy.h"

#include "log/closedlibrary.h"
#include "log/guarded.h"
#include "log/logline.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

std::atomic<ZElectronLogProxy *> g_logProxy{nullptr};

namespace {

/// Calls a function of the log library, if it exists. The only place that does so; exceptions of
/// the library are caught here and not logged.
template <typename Result, typename... Parameters, typename... Arguments>
Result callLibrary(Result (*function)(Parameters...), Arguments... arguments)
{
    const auto nothing = [] { return Result(); };
    return function ? guarded([&] { return function(arguments...); }, nothing) : nothing();
}

} // namespace

ZElectronLogProxy::~ZElectronLogProxy()
{
    g_logProxy = nullptr;
}

bool ZElectronLogProxy::load()
{
    void *library = openClosedLibrary(kLibrary).release(); // stays loaded
    if (!library) {
        return false;
    }
    const bool isComplete = findFunctions(
        library, kLibrary,
        {
            {m_onAboutToQuit, "onAboutToQuit", ClosedFunction::Optional},
            {m_writeMsg, "writeMsg", ClosedFunction::Optional},
            {m_explicitDefineLogName, "explicitDefineLogName", ClosedFunction::Optional},
            {m_getVemoLogSavePath, "getVemoLogSavePath", ClosedFunction::Optional},
            {m_explicitDefineProductNameForLogPath, "explicitDefineProductNameForLogPath",
             ClosedFunction::Optional},
        });

    if (QCoreApplication::instance() && m_explicitDefineLogName &&
        m_explicitDefineProductNameForLogPath) {
        nameLog();
    }
    return isComplete;
}

void ZElectronLogProxy::nameLog()
{
    const QString appName = QCoreApplication::applicationName();
    const std::wstring name = appName.isEmpty() ? L"electronApp" : appName.toStdWString();
    callLibrary(m_explicitDefineLogName, name.c_str());
    callLibrary(m_explicitDefineProductNameForLogPath, name.c_str());
}

void ZElectronLogProxy::write(const wchar_t *level, const wchar_t *module, const wchar_t *message)
{
    callLibrary(m_writeMsg, level, module, message);
}

void ZElectronLogProxy::info(const std::wstring &module, const std::wstring &message)
{
    write(L"Info", module.c_str(), message.c_str());
}

void ZElectronLogProxy::warning(const std::wstring &module, const std::wstring &message)
{
    write(L"Warning", module.c_str(), message.c_str());
}

void ZElectronLogProxy::error(const std::wstring &module, const std::wstring &message)
{
    write(L"Error", module.c_str(), message.c_str());
}

QString ZElectronLogProxy::getLogPath() const
{
    if (!m_getVemoLogSavePath) {
        return {};
    }
    const QString executable = QFileInfo(QCoreApplication::applicationFilePath()).fileName();
    if (executable.isEmpty()) {
        logInfo("getLogPath", "app name is empty");
        return {};
    }

    const wchar_t *base = callLibrary(m_getVemoLogSavePath);
    if (!base || !*base) {
        return {}; // an empty path would mean the working directory
    }
    QDir directory(QString::fromWCharArray(base));
    if (!directory.exists() || !directory.cd(executable)) {
        return {};
    }
    const QString path = directory.absolutePath();
    logInfo("getLogPath", "get log path: %1", {path});
    return path;
}

void ZElectronLogProxy::aboutToQuit()
{
    callLibrary(m_onAboutToQuit);
}
