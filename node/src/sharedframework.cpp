#include "sharedframework.h"

#include "libraries.h"

#include <chrono>
#include <memory>
#include <system_error>
#include <utility>

#include <dlfcn.h>
#include <pthread.h>

using zelectronframeworkspace::IElectronFramework;

namespace {

// Bounds the delay of the process's exit, whatever the account library is doing. The framework
// library itself waits up to half a second.
constexpr std::chrono::milliseconds kLongestWait{200};

/// \return where the framework library was loaded from; empty when it was not.
std::string loadedFramework()
{
    return inspectLibrary("libzelectronframework.so", false).path;
}

} // namespace

SharedFramework &SharedFramework::instance()
{
    static SharedFramework &shared = *new SharedFramework;
    return shared;
}

std::string SharedFramework::join(const StartRequest &request)
{
    const std::lock_guard<std::mutex> lock(m_lifecycle);
    std::string failure = load(request.library);
    if (failure.empty() && m_hasClosed && request.closed != m_closed) {
        failure = "closed ";
        for (const NamedLibrary &library : m_closed) {
            failure += library.file + '\n';
        }
    }
    if (!failure.empty()) {
        return failure;
    }
    if (m_shares > 0) {
        if (!request.isJoining && request.settings != m_settings) {
            return "settings";
        }
        ++m_shares;
        return "joined";
    }
    stop(); // a framework that was abandoned
    failure = start(request);
    if (!failure.empty()) {
        return failure;
    }
    ++m_shares;
    return "started";
}

void SharedFramework::leave()
{
    const std::lock_guard<std::mutex> lock(m_lifecycle);
    if (--m_shares == 0) {
        stop();
    }
}

void SharedFramework::abandon()
{
    --m_shares;
}

void SharedFramework::runApart(std::function<void()> change)
{
    const auto count = [this](int difference) {
        const std::lock_guard<std::mutex> lock(m_changesMutex);
        m_changes += difference;
        m_isTooSlow = m_isTooSlow && m_changes > 0;
        m_changed.notify_all();
    };
    count(1);
    const auto run = [](void *argument) -> void * {
        const std::unique_ptr<std::function<void()>> job(
            static_cast<std::function<void()> *>(argument));
        (*job)();
        return nullptr;
    };
    auto job = std::make_unique<std::function<void()>>([change = std::move(change), count] {
        change();
        count(-1);
    });
    // Not std::thread, whose part in the C++ library needs a host that is linked with libpthread.
    pthread_t thread{};
    if (const int error = pthread_create(&thread, nullptr, run, job.get())) {
        count(-1);
        throw std::system_error(error, std::generic_category());
    }
    static_cast<void>(job.release()); // the thread deletes it
    pthread_detach(thread);
}

void SharedFramework::settle()
{
    std::unique_lock<std::mutex> lock(m_changesMutex);
    if (!m_isTooSlow) {
        m_isTooSlow = !m_changed.wait_for(lock, kLongestWait, [this] { return m_changes == 0; });
    }
}

void SharedFramework::beforeInspection()
{
    if (loadedFramework().empty()) {
        m_isInspected = true;
    }
}

TaskRelay &SharedFramework::taskRelay(const std::string &typeName)
{
    const std::lock_guard<std::mutex> lock(m_tasksMutex);
    return m_taskRelays.try_emplace(typeName, typeName).first->second;
}

std::string SharedFramework::load(const std::string &library)
{
    if (m_framework) {
        return library == m_library ? "" : "other " + m_library;
    }
    // Another copy of this package, or other code, uses the library: each side would stop the
    // framework while the other one uses it.
    const std::string foreign = m_isInspected ? std::string() : loadedFramework();
    if (!foreign.empty()) {
        return "other " + foreign;
    }
    void *const handle = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        return "load " + lastLoaderError();
    }
    using Create = IElectronFramework *(*)();
    const auto create = reinterpret_cast<Create>(dlsym(handle, "createElectronFrameworkObject"));
    if (!create) {
        const std::string reason = lastLoaderError();
        dlclose(handle);
        return "symbol " + reason;
    }
    m_framework = create();
    m_library = library;
    return {};
}

std::string SharedFramework::start(const StartRequest &request)
{
    // Closed at the end of this function: the framework has its own references by then.
    LoadedLibraries libraries;
    for (const NamedLibrary &library : request.closed) {
        const std::string failure = libraries.add(library);
        if (!failure.empty()) {
            return failure;
        }
    }
    if (!request.account.empty()) {
        const Inspection account = inspectLibrary(request.account, true);
        if (!account.error.empty()) {
            return "account " + account.error; // the framework would write it to the standard error
        }
    }
    IElectronFramework *const framework = m_framework;
    m_closed = request.closed;
    m_hasClosed = true;
    m_settings = request.settings;
    m_isStarted = true;
    if (!framework->init(request.settings.c_str())) {
        stop();
        return "refused";
    }
    return {};
}

void SharedFramework::stop()
{
    if (!m_isStarted) {
        return;
    }
    IElectronFramework *const framework = m_framework;
    framework->uninit();
    m_isStarted = false;
    m_replies.clear();
    const std::lock_guard<std::mutex> lock(m_tasksMutex);
    for (auto &[typeName, relay] : m_taskRelays) {
        relay.forgetRegistration();
    }
}
