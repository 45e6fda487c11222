#include "control.h"

#include "jsontext.h"
#include "keeper/delivery.h"
#include "keeper/messagecontext.h"

namespace zefstandin {

namespace {

const char *const kMessageName = "notifyElectronMsg";
const char *const kTaskName = "meetingDataChanged";

/// Without a running library: the same deliveries from the keeper's own code.
int sendLateMessage(const QVariantMap &message, Thread thread, MessageContext context)
{
    const QList<MessageHandler> handlers =
        Keeper::instance().messageHandlers(kMessageName, kTaskName);
    int taken = 0;
    for (const MessageHandler &handler : handlers) {
        const auto send = [handler, message, context] {
            return deliver(handler, MessageReference(message, context).reference);
        };
        if (thread == Thread::caller) {
            taken += send();
        } else if (!Keeper::instance().run(thread, send)) {
            return -1;
        } else {
            ++taken;
        }
    }
    return taken;
}

int collectLate(const QVariantMap &map, Thread thread)
{
    const QList<CallBackFunc> callbacks = Keeper::instance().collectCallbacks();
    for (const CallBackFunc &callback : callbacks) {
        if (!Keeper::instance().run(thread,
                                    [callback, map] { deliver("collect", callback, map); })) {
            return -1;
        }
    }
    return callbacks.size();
}

class ControlObject final : public AccountControl
{
public:
    void reset() override { m_keeper.reset(); }

    bool script(const std::string &operation, const std::string &json) override
    {
        const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(json));
        return !document.isNull() &&
               m_keeper.setScript(QString::fromStdString(operation), document.toVariant());
    }

    bool setState(const std::string &json) override
    {
        const std::optional<QVariantMap> standin = objectFromText(json);
        if (!standin) {
            return false;
        }
        m_keeper.addOverlay(*standin);
        m_keeper.withLibrary([&](LibraryHooks &library) { library.applyState(*standin); });
        return true;
    }

    std::string state() const override
    {
        QVariantMap state = m_keeper.lastState();
        const bool isRunning =
            m_keeper.withLibrary([&](LibraryHooks &library) { state = library.state(); });
        state.insert("running", isRunning);
        return compactJson(state).toStdString();
    }

    void setHostile(unsigned seed) override { m_keeper.setHostile(seed); }
    void setNoCost(bool noCost) override { m_keeper.setNoCost(noCost); }
    void setRecording(bool recording) override { m_keeper.records().setEnabled(recording); }

    bool raiseSignal(const std::string &name, Thread thread) override
    {
        bool isRaised = false;
        m_keeper.withLibrary([&](LibraryHooks &library) {
            isRaised = library.raiseSignal(QByteArray::fromStdString(name), thread);
        });
        return isRaised;
    }

    int sendMessage(const std::string &messageJson, Thread thread, MessageContext context) override
    {
        const std::optional<QVariantMap> message = objectFromText(messageJson);
        if (!message) {
            return -1;
        }
        int result = 0;
        const bool isRunning = m_keeper.withLibrary([&](LibraryHooks &library) {
            result = library.sendMessage(*message, thread, context);
        });
        return isRunning ? result : sendLateMessage(*message, thread, context);
    }

    int collect(const std::string &mapJson, Thread thread) override
    {
        const std::optional<QVariantMap> map = objectFromText(mapJson);
        if (!map) {
            return -1;
        }
        int result = 0;
        const bool isRunning = m_keeper.withLibrary(
            [&](LibraryHooks &library) { result = library.collect(*map, thread); });
        return isRunning ? result : collectLate(*map, thread);
    }

    bool writeLog(const std::string &level, const std::string &message, Thread thread) override
    {
        bool isWritten = false;
        m_keeper.withLibrary([&](LibraryHooks &library) {
            isWritten = library.writeLog(QString::fromStdString(level),
                                         QString::fromStdString(message), thread);
        });
        return isWritten;
    }

    std::vector<HeldAnswer> held() const override { return m_keeper.held().list(); }

    bool release(long id, Thread thread) override
    {
        if (!m_keeper.canRun(thread)) {
            return false;
        }
        const std::optional<PlannedAnswer> answer = m_keeper.held().take(id, false);
        return answer && m_keeper.run(thread, [answer = *answer] { deliver(answer); });
    }

    bool answerHeld(long id, Thread thread, int status, const std::string &replyJson,
                    bool keep) override
    {
        const std::optional<QVariantMap> reply = objectFromText(replyJson);
        if ((!reply && !replyJson.empty()) || !m_keeper.canRun(thread)) {
            return false;
        }
        std::optional<PlannedAnswer> answer = m_keeper.held().take(id, keep);
        if (!answer) {
            return false;
        }
        answer->status = status;
        if (reply) {
            answer->reply = *reply;
        }
        return m_keeper.run(thread, [answer = *answer] { deliver(answer); });
    }

    int releaseAll(Thread thread) override
    {
        int released = 0;
        for (const HeldAnswer &answer : m_keeper.held().list()) {
            released += release(answer.id, thread);
        }
        return released;
    }

    void dropHeld() override { m_keeper.held().clear(); }
    std::vector<std::string> calls() const override { return m_keeper.records().callLines(); }
    std::vector<Call> callRecords() const override { return m_keeper.records().calls(); }
    std::vector<std::string> answers() const override { return m_keeper.records().answers(); }
    void clearRecords() override { m_keeper.records().clear(); }

    bool waitUntilIdle(int milliseconds) override { return m_keeper.waitUntilIdle(milliseconds); }

private:
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
