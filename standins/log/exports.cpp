#include "logstore.h"

#include <cerrno>
#include <stdexcept>

/// \file
/// The exports of the log library. None changes errno, and none lets an exception out unless the
/// control asked for that.

using vemolog::LogStore;

namespace {

template <typename Function>
void guarded(Function function)
{
    const int savedErrno = errno;
    try {
        function(LogStore::instance());
    } catch (...) {
        // A failure to log cannot be reported: the line or the name is lost, and the caller continues.
    }
    errno = savedErrno;
    if (LogStore::instance().isThrowing()) {
        throw std::runtime_error("scripted");
    }
}

} // namespace

extern "C" {

void writeMsg(const wchar_t *level, const wchar_t *module, const wchar_t *message)
{
    guarded([=](LogStore &store) { store.write(level, module, message); });
}

void explicitDefineLogName(const wchar_t *name)
{
    guarded([=](LogStore &store) { store.setLogName(name); });
}

const wchar_t *getVemoLogSavePath()
{
    const wchar_t *path = nullptr;
    guarded([&path](LogStore &store) { path = store.savePath(); });
    return path;
}

void explicitDefineProductNameForLogPath(const wchar_t *name)
{
    guarded([=](LogStore &store) { store.setProductName(name); });
}

void onAboutToQuit()
{
    guarded([](LogStore &store) { store.aboutToQuit(); });
}

zefstandin::LogControl *zefLogStandinControl()
{
    return &LogStore::instance();
}

} // extern "C"
