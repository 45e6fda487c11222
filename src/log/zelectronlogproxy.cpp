#include "log/zelectronlogproxy.h"

#include "log/logline.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFileInfo>

#include <dlfcn.h>

std::atomic<ZElectronLogProxy *> g_logProxy{nullptr};

namespace {

template <typename Function>
void resolve(void *library, const char *symbol, Function *&function)
{
    function = reinterpret_cast<Function *>(dlsym(library, symbol));
}

} // namespace

ZElectronLogProxy::~ZElectronLogProxy()
{
    g_logProxy = nullptr;
}

bool ZElectronLogProxy::load()
{
    void *library = dlopen(kLibrary, RTLD_LAZY);
    if (!library) {
        qDebug() << "load fail: "
                 << dlerror(); // NOLINT(concurrency-mt-unsafe): per thread in glibc
        return false;
    }

    resolve(library, "onAboutToQuit", m_onAboutToQuit);
    resolve(library, "writeMsg", m_writeMsg);
    resolve(library, "explicitDefineLogName", m_explicitDefineLogName);
    resolve(library, "getVemoLogSavePath", m_getVemoLogSavePath);
    resolve(library, "explicitDefineProductNameForLogPath", m_explicitDefineProductNameForLogPath);

    if (QCoreApplication::instance() && m_explicitDefineLogName &&
        m_explicitDefineProductNameForLogPath) {
        nameLog();
    }
    return true;
}

void ZElectronLogProxy::nameLog()
{
    const QString appName = QCoreApplication::applicationName();
    const std::wstring name = appName.isEmpty() ? L"electronApp" : appName.toStdWString();
    m_explicitDefineLogName(name.c_str());
    m_explicitDefineProductNameForLogPath(name.c_str());
}

void ZElectronLogProxy::info(const std::wstring &module, const std::wstring &message)
{
    if (m_writeMsg) {
        m_writeMsg(L"Info", module.c_str(), message.c_str());
    }
}

void ZElectronLogProxy::warning(const std::wstring &module, const std::wstring &message)
{
    if (m_writeMsg) {
        m_writeMsg(L"Warning", module.c_str(), message.c_str());
    }
}

void ZElectronLogProxy::error(const std::wstring &module, const std::wstring &message)
{
    if (m_writeMsg) {
        m_writeMsg(L"Error", module.c_str(), message.c_str());
    }
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

    const wchar_t *base = m_getVemoLogSavePath();
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
    if (m_onAboutToQuit) {
        m_onAboutToQuit();
    }
}
