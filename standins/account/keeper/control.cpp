#include "control.h"

#include "jsontext.h"
#include "keeper/messagecontext.h"
#include "keeper/vocabulary.h"

namespace zefstandin {

namespace {

class ControlObject final : public AccountControl
{
public:
    void reset() override { m_keeper.reset(); }

    bool script(const std::string &operation, const std::string &json) override
    {
        const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(json));
        return !document.isNull() &&
               m_keeper.scripts().set(QString::fromStdString(operation), document.toVariant());
    }

    void setAction(const std::string &operation, std::function<void()> action) override
    {
        m_keeper.setAction(QString::fromStdString(operation), std::move(action));
    }

    bool setState(const std::string &json) override
    {
        const std::optional<QVariantMap> standin = objectFromText(json);
        if (!standin) {
            return false;
        }
        m_keeper.addOverlay(*standin);
        m_keeper.withLibrary([&](LibraryHooks &library) {
            library.applyState(*standin);
            return true;
        });
        return true;
    }

    std::string state() const override
    {
        QVariantMap state = m_keeper.lastState();
        const bool isRunning = m_keeper.withLibrary([&](LibraryHooks &library) {
            state = library.state();
            return true;
        });
        state.insert("running", isRunning);
        return compactJson(state).toStdString();
    }

    std::string vocabulary() const override
    {
        return compactJson(zefstandin::vocabulary()).toStdString();
    }

    void setHostile(unsigned seed) override { m_keeper.scripts().setHostile(seed); }
    void setNoCost(bool noCost) override { m_keeper.setNoCost(noCost); }
    void setRecording(bool recording) override { m_keeper.records().setEnabled(recording); }

    bool raiseSignal(const std::string &name, Thread thread) override
    {
        return m_keeper.withLibrary([&](LibraryHooks &library) {
            return library.raiseSignal(QByteArray::fromStdString(name), thread);
        });
    }

    int sendMessage(const std::string &messageJson, Thread thread, MessageContext context) override
    {
        const std::optional<QVariantMap> message = objectFromText(messageJson);
        int sent = -1;
        const auto send = [&](LibraryHooks &library) {
            sent = library.sendMessage(*message, thread, context);
            return true;
        };
        if (message && !m_keeper.withLibrary(send)) {
            const auto queue = [&](const auto &job) { return m_keeper.run(thread, job); };
            sent = sendToHandlers(*message, thread, context, queue);
        }
        return sent;
    }

    int collect(const std::string &mapJson, Thread thread) override
    {
        const std::optional<QVariantMap> map = objectFromText(mapJson);
        const std::vector<CallBackFunc> callbacks = m_keeper.collectCallbacks();
        for (const CallBackFunc &callback : map ? callbacks : std::vector<CallBackFunc>()) {
            const auto job = [callback, map = *map] {
                deliver({"collect", {}, callback, {}, 0, map});
            };
            const auto runThere = [&](LibraryHooks &library) { return library.run(thread, job); };
            if (!m_keeper.withLibrary(runThere) && !m_keeper.run(thread, job)) {
                return -1;
            }
        }
        return map ? int(callbacks.size()) : -1;
    }

    bool writeLog(const std::string &level, const std::string &message, Thread thread) override
    {
        return m_keeper.withLibrary([&](LibraryHooks &library) {
            return library.writeLog(QString::fromStdString(level), QString::fromStdString(message),
                                    thread);
        });
    }

    std::vector<HeldAnswer> held() const override { return m_keeper.held().list(); }

    bool release(long id, Thread thread) override
    {
        return give(id, thread, false, [](PlannedAnswer &) {});
    }

    bool answerHeld(long id, Thread thread, int status, const std::string &replyJson,
                    bool keep) override
    {
        const std::optional<QVariantMap> reply = objectFromText(replyJson);
        return (reply || replyJson.empty()) && give(id, thread, keep, [&](PlannedAnswer &answer) {
                   answer.status = status;
                   answer.reply = reply.value_or(answer.reply);
               });
    }

    int releaseAll(Thread thread) override
    {
        int released = 0;
        for (const HeldAnswer &answer : m_keeper.held().list()) {
            released += release(answer.id, thread);
        }
        return released;
    }

    std::vector<Call> calls() const override { return m_keeper.records().calls(); }
    long exceptions() const override { return m_keeper.exceptions(); }
    void clearRecords() override { m_keeper.records().clear(); }

    bool waitUntilIdle(int milliseconds) override { return m_keeper.waitUntilIdle(milliseconds); }

private:
    template <typename Change>
    bool give(long id, Thread thread, bool keep, Change change)
    {
        std::optional<PlannedAnswer> answer;
        if (m_keeper.canRun(thread)) {
            answer = m_keeper.held().take(id, keep);
        }
        if (!answer) {
            return false;
        }
        change(*answer);
        return m_keeper.run(thread, [answer = *answer] { deliver(answer); });
    }

    Keeper &m_keeper = Keeper::instance();
};

} // namespace

/// The same object under a name that only the stand-in itself uses.
__attribute__((visibility("default"))) AccountControl *keeperControl()
{
    static AccountControl *const control = new ControlObject; // never destroyed, like the keeper
    return control;
}

} // namespace zefstandin

__attribute__((visibility("default"))) zefstandin::AccountControl *zefAccountStandinControl()
{
    return zefstandin::keeperControl();
}
