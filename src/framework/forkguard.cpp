#include "framework/forkguard.h"

#include "framework/zelectronapplication.h"
#include "log/zelectronlogproxy.h"

#include <pthread.h>

#include <atomic>

namespace {

std::atomic<bool> s_isForkedFromRunning{false};

void forgetInChild()
{
    if (g_electronApp.exchange(nullptr)) {
        s_isForkedFromRunning = true;
        g_logProxy = nullptr;
    }
}

} // namespace

void installForkGuard()
{
    static const int installed = pthread_atfork(nullptr, nullptr, &forgetInChild);
    Q_UNUSED(installed)
}

bool isForkedFromRunning()
{
    return s_isForkedFromRunning;
}
