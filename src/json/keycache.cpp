#include "json/keycache.h"

#include <utility>

namespace {

// Trivial types, so that they can be read while the thread ends.
thread_local KeyCache *t_keyCache = nullptr;
thread_local bool t_isEnding = false;

} // namespace

KeyCache *KeyCache::ofThread()
{
    struct Owner
    {
        ~Owner()
        {
            t_isEnding = true;
            delete std::exchange(t_keyCache, nullptr);
        }
    };
    if (!t_keyCache && !t_isEnding) {
        t_keyCache = new KeyCache;
        thread_local const Owner owner;
        static_cast<void>(owner);
    }
    return t_keyCache;
}
