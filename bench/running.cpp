#include "running.h"

#include <QtGlobal>

#include <cstring>
#include <utility>

using zelectronframeworkspace::IElectronCallback;

namespace {

class Task final : public IElectronCallback
{
public:
    Task(std::function<void()> function, Arrivals &done)
        : m_function(std::move(function)), m_done(done)
    {
    }

    void onCallback(const char *text, std::size_t length) override
    {
        m_function();
        m_done.onCallback(text, length);
    }

private:
    const std::function<void()> m_function;
    Arrivals &m_done;
};

} // namespace

LoadedLibrary &startLibrary(int accounts)
{
    LoadedLibrary &library = LoadedLibrary::instance();
    library.framework().uninit();
    library.log().setSilent(true);
    library.account().setNoCost(true);
    const std::string standin =
        R"(,"standin":{"generateAccounts":)" + std::to_string(accounts) + "}";
    if (!library.start(standin)) {
        qFatal("the framework does not start");
    }
    return library;
}

void Sink::onCallback(const char *text, std::size_t length)
{
    m_length = length ? length : std::strlen(text);
}

void Arrivals::onCallback(const char *, std::size_t)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (++m_count == m_wanted) {
        m_arrived.notify_one();
    }
}

void Arrivals::take(int count)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_wanted = count;
    m_arrived.wait(lock, [this, count] { return m_count >= count; });
    m_count -= count;
}

void runOnHostThread(LoadedLibrary &library, std::function<void()> function)
{
    Arrivals done;
    Task task(std::move(function), done);
    if (!library.framework().asynCall("account.getJwkPublicKeyStr", "{}", &task)) {
        qFatal("the host thread takes no call");
    }
    done.take(1);
}

QByteArray textParams(int bytes)
{
    return R"({"signData":")" + QByteArray(bytes, 'x') + R"("})";
}

QByteArray memberParams(int bytes)
{
    QByteArray members;
    for (int number = 0; members.size() < bytes; ++number) {
        const QByteArray name = QByteArray::number(number).rightJustified(4, '0');
        members += (members.isEmpty() ? "" : ",") + ("\"code" + name + "\":\"value-" + name + "\"");
    }
    return R"({"deviceCode":{)" + members + "}}";
}

QByteArray mixedParams()
{
    const QByteArray values[] = {R"("text value")", "12345", "true",
                                 "\"\u4f1a\u8b70 \u00e9t\u00e9\"", R"("https:\/\/example.com")"};
    QByteArray members;
    for (int number = 0; number < 43; ++number) {
        const QByteArray key = "member" + QByteArray::number(number * 17 % 43);
        members += (members.isEmpty() ? "\"" : ",\"") + key + "\":" + values[number % 5];
    }
    return R"({"deviceCode":{)" + members + "}}";
}
