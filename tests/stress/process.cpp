#include "stress/process.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <malloc.h>
#include <unistd.h>

namespace {

int entries(const char *folder)
{
    int count = 0;
    std::error_code error;
    for (std::filesystem::directory_iterator it(folder, error), end; it != end;
         it.increment(error)) {
        ++count;
    }
    return count;
}

long residentMemory()
{
    malloc_trim(0);
    long total = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

} // namespace

ProcessFigures ProcessFigures::now()
{
    return {residentMemory(), static_cast<long>(mallinfo2().uordblks / 1024),
            entries("/proc/self/task"), entries("/proc/self/fd")};
}

bool isMemoryMeasurable()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return false;
#else
    const char *emulator = std::getenv("ZEF_TEST_EMULATOR");
    return !emulator || !*emulator;
#endif
}
