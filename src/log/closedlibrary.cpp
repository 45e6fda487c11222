#include "log/closedlibrary.h"

#include "log/logline.h"

#include <QDebug>
#include <QFileInfo>
#include <QLoggingCategory>

#include <algorithm>
#include <climits>

#include <dlfcn.h>
#include <link.h>

namespace {

Q_LOGGING_CATEGORY(libraries, "zelectronframework.libraries", QtWarningMsg)

/// The file that a library was loaded from. The loader stores the folder when it opens a library; a
/// relative name would change its meaning with the working directory.
QFileInfo fileOf(void *handle)
{
    char folder[PATH_MAX] = "";
    link_map *map = nullptr;
    if (!handle || dlinfo(handle, RTLD_DI_ORIGIN, folder) != 0 ||
        dlinfo(handle, RTLD_DI_LINKMAP, &map) != 0) {
        return {};
    }
    const QString name = QFileInfo(QFile::decodeName(map->l_name)).fileName();
    return {QFile::decodeName(folder) + QLatin1Char('/') + name};
}

QFileInfo fileOfLoaded(const char *name)
{
    const ClosedLibrary library(dlopen(name, RTLD_LAZY | RTLD_NOLOAD));
    return fileOf(library.get());
}

QFileInfo ownFile()
{
    Dl_info own{};
    const bool isKnown = dladdr(reinterpret_cast<const void *>(&warnIfFromElsewhere), &own);
    return isKnown ? fileOfLoaded(own.dli_fname) : QFileInfo();
}

/// Whether the files are in one folder after links are followed. Where this library is a link
/// itself, the folder of the link counts as well: the loader searches that one.
bool areTogether(const QFileInfo &library, const QFileInfo &own)
{
    if (library.path() == own.path() && !library.isSymLink()) {
        return true; // the usual case, without following links
    }
    return library.canonicalPath() == own.canonicalPath() ||
           (own.isSymLink() && QFileInfo(library.path()) == QFileInfo(own.path()));
}

} // namespace

void ClosedFunction::find(void *library) const
{
    *m_function = dlsym(library, m_symbol);
}

void CloseLibrary::operator()(void *library) const
{
    dlclose(library);
}

ClosedLibrary openClosedLibrary(const char *name)
{
    ClosedLibrary library(dlopen(name, RTLD_LAZY));
    if (!library) {
        const char *reason = dlerror(); // NOLINT(concurrency-mt-unsafe): per thread in glibc
        qDebug() << "load fail: " << (reason ? reason : "");
        qCDebug(libraries, "%s: missing", name);
    }
    return library;
}

bool findFunctions(void *library, const char *name, std::initializer_list<ClosedFunction> functions)
{
    for (const ClosedFunction &function : functions) {
        function.find(library);
        qCDebug(libraries, "%s: %s %s %s", name, function.symbol(),
                function.isRequired() ? "required" : "optional",
                function.isFound() ? "found" : "missing");
    }
    qCDebug(libraries, "%s: %s", name, qUtf8Printable(fileOf(library).filePath()));
    return std::none_of(functions.begin(), functions.end(), [](const ClosedFunction &function) {
        return function.isRequired() && !function.isFound();
    });
}

void warnIfFromElsewhere(const char *name)
{
    const QFileInfo library = fileOfLoaded(name);
    const QFileInfo own = ownFile();
    if (library.exists() && own.exists() && !areTogether(library, own)) {
        logWarning("load", "%1 was loaded from elsewhere: %2", {name, library.canonicalFilePath()});
    }
}
