#pragma once

#include "mailbox.h"

#include "zelectronframework/zelectronframework.h"

#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

/// The callbacks of queued calls.
///
/// The account library may answer a call twice, or long after the caller has stopped waiting, so
/// that no callback could ever be deleted. Therefore a callback is only an address: one block of
/// objects without members is mapped at many addresses, and the address tells which call is
/// answered. A call that was answered leaves nothing behind. See decision record 0011.
///
/// Thread: all functions are callable from any.
class Replies
{
public:
    /// An id that no receiver in this process has or had.
    ReceiverId newId();

    /// \param id a new one.
    /// \return the callback of that call; usable for as long as the process runs.
    /// Throws when the system has no address left.
    zelectronframeworkspace::IElectronCallback *add(std::shared_ptr<Mailbox> mailbox,
                                                    ReceiverId id);

    /// Forgets a call that the framework did not take.
    void remove(ReceiverId id);

    /// Forgets every open call: the framework was stopped.
    void clear();

    /// Second answers are posted to all running sessions, because their caller is no longer known.
    void join(std::shared_ptr<Mailbox> mailbox);
    void leave(const std::shared_ptr<Mailbox> &mailbox);

    std::size_t count() const;

private:
    class Callback;

    void answer(const Callback *callback, const char *text);
    void prepare();
    char *mapped(std::size_t block);

    mutable std::mutex m_mutex; // guards everything below; held over no call out
    ReceiverId m_lastId = 0;
    struct OpenCall
    {
        ReceiverId id;
        std::shared_ptr<Mailbox> mailbox;
    };
    std::unordered_map<std::size_t, OpenCall> m_open; // by its place among the addresses
    std::vector<std::shared_ptr<Mailbox>> m_running;

    int m_file = -1;         // the memory that is mapped as every block
    char *m_range = nullptr; // where they are mapped
    std::vector<bool> m_isMapped;
    char *m_newest = nullptr;
};
