#include "replies.h"

#include "sharedframework.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <utility>

#include <sys/mman.h>
#include <unistd.h>

using zelectronframeworkspace::IElectronCallback;

/// One block of these is mapped at many addresses.
class Replies::Callback : public IElectronCallback
{
public:
    void onCallback(const char *text, std::size_t) override
    {
        SharedFramework::instance().replies().answer(this, text);
    }
};

namespace {

constexpr std::size_t kBlockSize = std::size_t{256} * 1024; // a multiple of every page size
constexpr std::size_t kBlocks = 16384; // Linux allows a process four times as many mappings
constexpr std::size_t kPerBlock = kBlockSize / sizeof(IElectronCallback);
// The first address is reused after this many calls.
constexpr std::size_t kPlaces = kBlocks * kPerBlock;

std::size_t placeOf(ReceiverId id)
{
    return static_cast<std::size_t>(id) % kPlaces;
}

/// \return -1 when the system refuses.
int memoryFile()
{
    // Some systems require that such a file is never executable; older ones do not know the flag.
    constexpr unsigned kNeverExecutable = 8; // MFD_NOEXEC_SEAL
    const char *const name = "zelectronframework";
    const int file = memfd_create(name, MFD_CLOEXEC | kNeverExecutable);
    return file >= 0 ? file : memfd_create(name, MFD_CLOEXEC);
}

char *mappedAt(char *address, std::size_t size, int protection, int flags, int file)
{
    void *const memory = mmap(address, size, protection, flags, file, 0);
    if (memory == MAP_FAILED) {
        throw std::runtime_error("the system gives no more addresses to this process");
    }
    return static_cast<char *>(memory);
}

} // namespace

ReceiverId Replies::newId()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    do {
        ++m_lastId;
    } while (m_open.count(placeOf(m_lastId)) > 0);
    return m_lastId;
}

IElectronCallback *Replies::add(std::shared_ptr<Mailbox> mailbox, ReceiverId id)
{
    const std::size_t place = placeOf(id);
    const std::lock_guard<std::mutex> lock(m_mutex);
    char *const block = mapped(place / kPerBlock);
    m_open[place] = {id, std::move(mailbox)};
    return reinterpret_cast<Callback *>(block + place % kPerBlock * sizeof(Callback));
}

void Replies::remove(ReceiverId id)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_open.erase(placeOf(id));
}

void Replies::clear()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_open.clear();
}

void Replies::join(std::shared_ptr<Mailbox> mailbox)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_running.push_back(std::move(mailbox));
}

void Replies::leave(const std::shared_ptr<Mailbox> &mailbox)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_running.erase(std::remove(m_running.begin(), m_running.end(), mailbox), m_running.end());
}

std::size_t Replies::count() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_open.size();
}

void Replies::answer(const Callback *callback, const char *text)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto place =
        static_cast<std::size_t>(reinterpret_cast<const char *>(callback) - m_range) /
        sizeof(Callback);
    const auto found = m_open.find(place);
    if (found != m_open.end()) {
        const OpenCall call = std::move(found->second);
        m_open.erase(found);
        lock.unlock();
        call.mailbox->post(Mailbox::Kind::reply, call.id, text);
        return;
    }
    // The last id that had this place.
    const ReceiverId id =
        m_lastId - static_cast<ReceiverId>((placeOf(m_lastId) + kPlaces - place) % kPlaces);
    const std::vector<std::shared_ptr<Mailbox>> running = m_running;
    lock.unlock();
    for (const auto &mailbox : running) {
        mailbox->post(Mailbox::Kind::message, id, text);
    }
}

/// Creates the memory that is mapped as every block. The mutex is held.
void Replies::prepare()
{
    if (m_file < 0) {
        m_file = memoryFile();
    }
    if (m_file < 0 || ftruncate(m_file, kBlockSize) != 0) {
        throw std::runtime_error("the system gives no memory to this process");
    }
    char *const block = mappedAt(nullptr, kBlockSize, PROT_READ | PROT_WRITE, MAP_SHARED, m_file);
    for (std::size_t place = 0; place < kPerBlock; ++place) {
        new (block + place * sizeof(Callback)) Callback;
    }
    munmap(block, kBlockSize);
    m_isMapped.resize(kBlocks);
}

/// The mutex is held.
char *Replies::mapped(std::size_t block)
{
    if (!m_range) {
        m_range = mappedAt(nullptr, kBlocks * kBlockSize, PROT_NONE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1);
    }
    if (m_isMapped.empty()) {
        prepare();
    }
    char *const address = m_range + block * kBlockSize;
    if (!m_isMapped[block]) {
        mappedAt(address, kBlockSize, PROT_READ, MAP_SHARED | MAP_FIXED, m_file);
        m_isMapped[block] = true;
        // Still usable, but no longer counted as memory of this process.
        if (m_newest) {
            madvise(m_newest, kBlockSize, MADV_DONTNEED);
        }
        m_newest = address;
    }
    return address;
}
