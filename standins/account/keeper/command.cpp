#include "control.h"

#include "jsontext.h"
#include "keeper/keeper.h"
#include "keeper/vocabulary.h"

#include <cstring>

namespace zefstandin {

AccountControl *keeperControl();

namespace {

/// \return why the command cannot be carried out; nothing when it can.
QString refusalOf(const QVariantMap &command)
{
    for (auto it = command.cbegin(); it != command.cend(); ++it) {
        if (!isCommandKey(it.key())) {
            return "the mock takes no \"" + it.key() + "\" while it runs";
        }
    }
    const QVariantMap scripts = command.value("script").toMap();
    for (auto it = scripts.cbegin(); it != scripts.cend(); ++it) {
        if (!findOperation(it.key()) || !scriptsFrom(it.value())) {
            return "no valid script for " + it.key();
        }
    }
    return {};
}

std::string textOf(const QVariant &map)
{
    return compactJson(map.toMap()).toStdString();
}

/// \return why something did not reach anybody; nothing when all did.
QString carryOut(const QVariantMap &command)
{
    AccountControl &control = *keeperControl();
    if (command.value("reset").toBool()) {
        if (objectFromText(control.state())->value("running").toBool()) {
            return "the mock is not reset while it runs";
        }
        control.reset();
    }
    QVariantMap state = command;
    for (const char *key :
         {"script", "signal", "message", "collect", "release", "releaseNth", "reset"}) {
        state.remove(key);
    }
    if (!state.isEmpty()) {
        control.setState(textOf(state));
    }
    const QVariantMap scripts = command.value("script").toMap();
    for (auto it = scripts.cbegin(); it != scripts.cend(); ++it) {
        Keeper::instance().scripts().set(it.key(), it.value());
    }
    const QString signal = command.value("signal").toString();
    if (!signal.isEmpty() && !control.raiseSignal(signal.toStdString(), Thread::library)) {
        return "there is no event " + signal + ", or nothing runs";
    }
    if (command.contains("message") &&
        control.sendMessage(textOf(command.value("message")), Thread::library,
                            MessageContext::alive) < 1) {
        return "nobody has registered for messages of the office suite";
    }
    if (command.contains("collect") &&
        control.collect(textOf(command.value("collect")), Thread::library) < 1) {
        return "nobody has registered for what is collected";
    }
    if (command.value("release").toBool()) {
        control.releaseAll(Thread::library);
    }
    if (command.contains("releaseNth")) {
        const std::vector<HeldAnswer> held = control.held();
        bool isNumber = false;
        const uint place = command.value("releaseNth").toUInt(&isNumber);
        if (!isNumber || place >= held.size() ||
            !control.release(held[place].id, Thread::library)) {
            return "no answer is held at that place";
        }
    }
    return {};
}

QVariantMap answerTo(const char *json)
{
    const std::optional<QVariantMap> command = objectFromText(json ? json : "");
    if (!command) {
        return {{"error", "the mock needs a JSON object"}};
    }
    QString error = refusalOf(*command);
    if (error.isEmpty()) {
        error = carryOut(*command);
    }
    if (!error.isEmpty()) {
        return {{"error", error}};
    }

    AccountControl &control = *keeperControl();
    QVariantMap answer = *objectFromText(control.state());
    answer.insert("scripts", Keeper::instance().scripts().remaining());
    QStringList held;
    for (const HeldAnswer &waiting : control.held()) {
        held.append(QString::fromStdString(waiting.name));
    }
    answer.insert("held", held);
    answer.insert("busy", !control.waitUntilIdle(0));
    return answer;
}

} // namespace

} // namespace zefstandin

__attribute__((visibility("default"))) char *zefAccountStandinCommand(const char *json)
{
    using namespace zefstandin;
    return strdup(compactJson(answerTo(json)).constData());
}
