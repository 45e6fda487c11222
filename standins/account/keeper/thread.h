#pragma once

#include <functional>
#include <memory>
#include <optional>

#include <pthread.h>

namespace zefstandin {

/// Runs \p job on a thread of its own, which the caller joins or detaches; none when the system
/// gives no thread.
///
/// Not std::thread: in a host that is not linked with libpthread, C libraries before 2.34 leave
/// pthread_create null inside the C++ library, and std::thread would call it.
inline std::optional<pthread_t> startThread(std::function<void()> job)
{
    using Job = std::function<void()>;
    auto owned = std::make_unique<Job>(std::move(job));
    const auto run = [](void *argument) -> void * {
        const std::unique_ptr<Job> mine(static_cast<Job *>(argument));
        (*mine)();
        return nullptr;
    };
    pthread_t thread{};
    if (pthread_create(&thread, nullptr, run, owned.get()) != 0) {
        return std::nullopt;
    }
    static_cast<void>(owned.release()); // the thread deletes it
    return thread;
}

/// The same for a thread that nobody joins.
inline bool startDetached(std::function<void()> job)
{
    const std::optional<pthread_t> thread = startThread(std::move(job));
    return thread && pthread_detach(*thread) == 0;
}

} // namespace zefstandin
