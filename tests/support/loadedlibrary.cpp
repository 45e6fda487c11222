#include "support/loadedlibrary.h"

#include <QFileInfo>
#include <QString>

#include <cstdlib>
#include <memory>

#include <dlfcn.h>

namespace {

template <typename Function>
Function symbol(const std::string &file, const char *name)
{
    void *library = dlopen(file.c_str(), RTLD_NOW);
    void *address = library ? dlsym(library, name) : nullptr;
    if (!address) {
        qFatal("%s: %s", file.c_str(), dlerror());
    }
    return reinterpret_cast<Function>(address);
}

} // namespace

std::string libraryFolder()
{
    const QString program = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
    return QFileInfo(program).path().toStdString() + "/../lib";
}

LoadedLibrary &LoadedLibrary::instance()
{
    static LoadedLibrary &library = *new LoadedLibrary;
    return library;
}

LoadedLibrary::LoadedLibrary()
{
    const std::string folder = libraryFolder();
    m_log =
        symbol<zefstandin::LogControl *(*)()>(folder + "/libvemolog.so", "zefLogStandinControl")();
    m_account = symbol<zefstandin::AccountControl *(*)()>(folder + "/libzaccountkeeper.so",
                                                          "zefAccountStandinControl")();
    m_log->setRecording(true);
    m_account->setRecording(true);
    m_framework = symbol<decltype(&createElectronFrameworkObject)>(
        folder + "/libzelectronframework.so", "createElectronFrameworkObject")();
}

bool LoadedLibrary::start(const std::string &extra)
{
    const std::string settings = R"({"app":{"appName":"zefTest","productName":"Meeting",)"
                                 R"("version":"1.2.3","localStoragePath":"/tmp"})" +
                                 extra + "}";
    return m_framework->init(settings.c_str());
}

bool LoadedLibrary::command(const std::string &json)
{
    static const auto carryOut = symbol<decltype(&zefAccountStandinCommand)>(
        libraryFolder() + "/libzaccountkeeper.so", "zefAccountStandinCommand");
    const std::unique_ptr<char, decltype(&std::free)> answer(carryOut(json.c_str()), &std::free);
    return std::string(answer.get()).find(R"({"error")") != 0;
}

std::vector<std::string> LoadedLibrary::logLines()
{
    std::vector<std::string> lines;
    for (const zefstandin::LogLine &line : m_log->lines()) {
        lines.push_back(QString::fromStdWString(line.level + L" " + line.message).toStdString());
    }
    return lines;
}
