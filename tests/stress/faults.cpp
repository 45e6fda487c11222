// The checked forms of the file functions are inline definitions and cannot be replaced.
#undef _FORTIFY_SOURCE

#include "stress/faults.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>

namespace {

constexpr int kNone = -1;
constexpr mode_t kNewFile = 0600;

std::atomic<int> s_kind{kNone};
std::atomic<long> s_failing{0};
std::atomic<long> s_counted{0};
char s_failed[256] = "";

/// Whether this call is the one that fails.
bool fails(FaultKind kind, const char *what)
{
    if (s_kind != static_cast<int>(kind) || ++s_counted != s_failing) {
        return false;
    }
    std::snprintf(s_failed, sizeof s_failed, "%s", what ? what : "");
    return true;
}

using Dlsym = void *(*)(void *, const char *);

/// The system's dlsym, which cannot be asked for itself. Its version depends on the architecture.
Dlsym systemDlsym()
{
    for (const char *version : {"GLIBC_2.34", "GLIBC_2.17", "GLIBC_2.2.5"}) {
        if (void *address = dlvsym(RTLD_NEXT, "dlsym", version)) {
            return reinterpret_cast<Dlsym>(address);
        }
    }
    return nullptr;
}

/// The system's own function.
template <typename Function>
Function next(const char *name)
{
    static const Dlsym function = systemDlsym();
    return reinterpret_cast<Function>(function(RTLD_NEXT, name));
}

int refuseFile()
{
    errno = EMFILE;
    return -1;
}

} // namespace

void armFault(FaultKind kind, long failing)
{
    s_counted = 0;
    s_failing = failing;
    s_failed[0] = '\0';
    s_kind = static_cast<int>(kind);
}

void disarmFault()
{
    s_kind = kNone;
}

long countedCalls()
{
    return s_counted;
}

std::string failedCall()
{
    return s_failed;
}

#pragma GCC visibility push(default)

extern "C" {

void *dlopen(const char *file, int mode) noexcept
{
    static const auto function = next<decltype(&dlopen)>("dlopen");
    // With this flag it only asks what is loaded already.
    const bool isLoading = !(mode & RTLD_NOLOAD);
    return function(isLoading && fails(FaultKind::dlopen, file) ? "/nowhere/libfault.so" : file,
                    mode);
}

void *dlsym(void *library, const char *symbol) noexcept
{
    static const Dlsym function = systemDlsym();
    return function(library, fails(FaultKind::dlsym, symbol) ? "zefNoSuchSymbol" : symbol);
}

int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*body)(void *),
                   void *argument) noexcept
{
    static const auto function = next<decltype(&pthread_create)>("pthread_create");
    const char *what = s_counted == 0 ? "host thread" : "thread"; // the first of a start
    return fails(FaultKind::threads, what) ? EAGAIN : function(thread, attributes, body, argument);
}

int openat(int folder, const char *file, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = flags & (O_CREAT | O_TMPFILE) ? va_arg(arguments, mode_t) : kNewFile;
    va_end(arguments);
    static const auto function = next<int (*)(int, const char *, int, ...)>("openat");
    return fails(FaultKind::files, file) ? refuseFile() : function(folder, file, flags, mode);
}

int open(const char *file, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = flags & (O_CREAT | O_TMPFILE) ? va_arg(arguments, mode_t) : kNewFile;
    va_end(arguments);
    return openat(AT_FDCWD, file, flags, mode);
}

// What a library calls that was compiled with checks and passes no mode.
int __open_2(const char *file, int flags)
{
    return openat(AT_FDCWD, file, flags);
}

FILE *fopen(const char *file, const char *mode)
{
    static const auto function = next<decltype(&fopen)>("fopen");
    if (fails(FaultKind::files, file)) {
        errno = EMFILE;
        return nullptr;
    }
    return function(file, mode);
}

// The names for large files; all are large here.
int openat64(int folder, const char *file, int flags, ...) __attribute__((alias("openat")));
int open64(const char *file, int flags, ...) __attribute__((alias("open")));
int __open64_2(const char *file, int flags) __attribute__((alias("__open_2")));
FILE *fopen64(const char *file, const char *mode) __attribute__((alias("fopen")));
}

#pragma GCC visibility pop
