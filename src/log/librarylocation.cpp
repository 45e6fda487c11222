#include "log/librarylocation.h"

#include "log/logline.h"

#include <QFileInfo>

#include <dlfcn.h>
#include <link.h>

namespace {

QByteArray folderOf(const QByteArray &file)
{
    return file.left(file.lastIndexOf('/'));
}

QString canonical(const QByteArray &folder)
{
    return QFileInfo(QFile::decodeName(folder)).canonicalFilePath();
}

/// Whether two files are in the same folder, by whatever name. Asks the file system only when the
/// names differ.
bool areNeighbours(const QByteArray &one, const QByteArray &other)
{
    const QByteArray folder = folderOf(one);
    const QByteArray otherFolder = folderOf(other);
    return folder == otherFolder || canonical(folder) == canonical(otherFolder);
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
    if (!areNeighbours(file, own.dli_fname)) {
        logWarning("load", "%1 was loaded from elsewhere: %2", {library, file});
    }
}
