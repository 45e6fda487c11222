#include "log/librarylocation.h"

#include "log/logline.h"

#include <QFileInfo>

#include <dlfcn.h>
#include <link.h>

namespace {

QString folderOf(const char *file)
{
    return QFileInfo(QFileInfo(QFile::decodeName(file)).absolutePath()).canonicalFilePath();
}

/// The file that a loaded library was taken from; empty when it is not loaded.
QByteArray fileOf(const char *library)
{
    void *handle = dlopen(library, RTLD_LAZY | RTLD_NOLOAD);
    if (!handle) {
        return {};
    }
    link_map *map = nullptr;
    const bool isKnown = dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0;
    const QByteArray file = isKnown ? map->l_name : "";
    dlclose(handle);
    return file;
}

} // namespace

void warnIfFromElsewhere(const char *library)
{
    const QByteArray file = fileOf(library);
    Dl_info own{};
    if (file.isEmpty() || !dladdr(reinterpret_cast<const void *>(&warnIfFromElsewhere), &own)) {
        return;
    }
    if (folderOf(file.constData()) != folderOf(own.dli_fname)) {
        logWarning("load", "%1 was loaded from elsewhere: %2", {library, file});
    }
}
