#include "account/control.h"
#include "log/control.h"
#include "zelectronframework/zelectronframework.h"

#include <node_api.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include <dlfcn.h>
#include <malloc.h>

/// \file
/// What mock() of the package cannot do for the tests: storms of events that no timer of JavaScript
/// could drive, and the bare cost of a call.

namespace {

using zefstandin::AccountControl;
using zefstandin::Thread;

/// The keeper stays mapped for good, so that the load can outlive everything else.
AccountControl *control()
{
    void *const keeper = dlopen("libzaccountkeeper.so", RTLD_LAZY | RTLD_NOLOAD);
    const auto entry = reinterpret_cast<AccountControl *(*)()>(
        keeper ? dlsym(keeper, "zefAccountStandinControl") : nullptr);
    return entry ? entry() : nullptr;
}

/// Null when the log library is none of ours.
zefstandin::LogControl *logControl()
{
    void *const library = dlopen("libvemolog.so", RTLD_LAZY | RTLD_NOLOAD);
    const auto entry = reinterpret_cast<zefstandin::LogControl *(*)()>(
        library ? dlsym(library, "zefLogStandinControl") : nullptr);
    return entry ? entry() : nullptr;
}

std::string text(napi_env env, napi_value value)
{
    size_t length = 0;
    napi_get_value_string_utf8(env, value, nullptr, 0, &length);
    std::string result(length, '\0');
    napi_get_value_string_utf8(env, value, result.data(), length + 1, &length);
    return result;
}

napi_value number(napi_env env, double value)
{
    napi_value result = nullptr;
    napi_create_double(env, value, &result);
    return result;
}

struct Arguments
{
    Arguments(napi_env env, napi_callback_info info)
    {
        napi_get_cb_info(env, info, &count, values, nullptr, nullptr);
    }
    size_t count = 3;
    napi_value values[3] = {};
};

// empty(a, b): what any call of a native function costs
napi_value empty(napi_env, napi_callback_info)
{
    return nullptr;
}

// noCost(): nothing is recorded or logged and every operation answers at once
napi_value noCost(napi_env env, napi_callback_info)
{
    if (AccountControl *const account = control()) {
        account->setRecording(false);
        account->setNoCost(true);
    }
    if (zefstandin::LogControl *const log = logControl()) {
        log->setSilent(true);
    }
    return number(env, 0);
}

std::atomic<int> storms{0};

// raise(signal, count, pauseEvery): raises events from a thread of its own, on a library thread
napi_value raise(napi_env env, napi_callback_info info)
{
    const Arguments arguments(env, info);
    std::int64_t count = 0;
    std::int64_t pauseEvery = 0;
    napi_get_value_int64(env, arguments.values[1], &count);
    napi_get_value_int64(env, arguments.values[2], &pauseEvery);
    AccountControl *const account = control();
    if (!account) {
        return number(env, 0);
    }
    account->setRecording(false);
    ++storms;
    std::thread([account, signal = text(env, arguments.values[0]), count, pauseEvery] {
        for (std::int64_t i = 1; i <= count; ++i) {
            if (!account->raiseSignal(signal, Thread::library)) {
                break;
            }
            if (pauseEvery > 0 && i % pauseEvery == 0) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        }
        --storms;
    }).detach();
    return number(env, 1);
}

// storms() -> how many raise() are still raising
napi_value storming(napi_env env, napi_callback_info)
{
    return number(env, storms);
}

// allocated() -> bytes that malloc has given out and not taken back
napi_value allocated(napi_env env, napi_callback_info)
{
#if __GLIBC_PREREQ(2, 33)
    const struct mallinfo2 info = mallinfo2();
#else
    const struct mallinfo info = mallinfo();
#endif
    return number(env, static_cast<double>(info.uordblks) + static_cast<double>(info.hblkhd));
}

/// The reply goes where the addon's goes first: nowhere.
class Dropped : public zelectronframeworkspace::IElectronCallback
{
    void onCallback(const char *, std::size_t) override {}
};

// bareCall(library, method): prepares bareCall(), which lets the library run that method once and
// drops the reply: what a call of it costs from JavaScript before anybody has looked at the reply
napi_value bareCall(napi_env env, napi_callback_info info)
{
    static zelectronframeworkspace::IElectronFramework *framework = nullptr;
    static std::string method;
    static Dropped callback;
    Arguments arguments(env, info);
    if (arguments.count == 0) {
        framework->call(method.c_str(), "{}", &callback);
        return nullptr;
    }
    void *const library = dlopen(text(env, arguments.values[0]).c_str(), RTLD_NOW);
    const auto create = reinterpret_cast<decltype(&createElectronFrameworkObject)>(
        library ? dlsym(library, "createElectronFrameworkObject") : nullptr);
    framework = create ? create() : nullptr;
    method = text(env, arguments.values[1]);
    return number(env, framework != nullptr);
}

} // namespace

NAPI_MODULE_INIT()
{
    const struct
    {
        const char *name;
        napi_callback function;
    } functions[] = {{"empty", empty},     {"noCost", noCost},       {"raise", raise},
                     {"storms", storming}, {"allocated", allocated}, {"bareCall", bareCall}};
    for (const auto &entry : functions) {
        napi_value value = nullptr;
        napi_create_function(env, entry.name, NAPI_AUTO_LENGTH, entry.function, nullptr, &value);
        napi_set_named_property(env, exports, entry.name, value);
    }
    return exports;
}
