#include "keeper/script.h"

#include <limits>

namespace zefstandin {

namespace {

const char *const kKnownOperations[] = {
    "InitInterface", "GetInterface", "UninitInterface", "init", "uninit", "notifier",
    // getters
    "getAccount", "getScheduler", "getMessageTaskRegistry", "getLoginService", "getSignService",
    "getCookieFactory", "getInfoCollectHandler", "getAccessbaseService", "getDomainMgr",
    // login
    "loginCallback", "logout", "switchAccount", "upgradeAccount", "downgradeAccount",
    "updateAccountInfo", "getUrlWithAuthorizeCode",
    // signing, cookies, collecting, device, domains
    "getJwkPublicKeyStr", "generatePKCEParam", "signPopToken", "signLoginData", "cookiesForUrl",
    "registerCollectCallback", "getDeviceInfo", "getDeviceNetworkStatus", "getDeviceHeader",
    "setDomain",
    // tasks, the last two by their message type
    "grantAuthorizeCodeOffice", "getAuthorizedUserInfoOffice", "notifyOfficeMsg/enterMeeting",
    "notifyOfficeMsg/getMeetingStatus"};

bool isNumber(const QVariant &value)
{
    return value.type() == QVariant::Double || value.type() == QVariant::Int ||
           value.type() == QVariant::LongLong;
}

bool readFlag(const QVariant &value, bool &flag)
{
    flag = value.toBool();
    return value.type() == QVariant::Bool;
}

bool readNumber(const QVariant &value, int &number)
{
    number = value.toInt();
    return isNumber(value);
}

bool readStatuses(const QVariant &value, Script &script)
{
    QVector<int> statuses;
    const QVariantList list = value.toList();
    for (const QVariant &status : list) {
        if (!isNumber(status)) {
            return false;
        }
        statuses.append(status.toInt());
    }
    script.statuses = statuses;
    return value.type() == QVariant::List;
}

bool readThread(const QVariant &value, Script &script)
{
    script.inCaller = value.toString() == "caller";
    return script.inCaller || value.toString() == "library";
}

bool readKey(const QString &key, const QVariant &value, Script &script)
{
    if (key == "refuse") {
        return readFlag(value, script.refuse);
    }
    if (key == "null") {
        return readFlag(value, script.nullResult);
    }
    if (key == "hold") {
        return readFlag(value, script.hold);
    }
    if (key == "dropAtUninit") {
        return readFlag(value, script.dropAtUninit);
    }
    if (key == "loopMs") {
        return readNumber(value, script.loopMs);
    }
    if (key == "quit") {
        return readFlag(value, script.quit);
    }
    if (key == "destroyContext") {
        return readFlag(value, script.destroyContext);
    }
    if (key == "keepNotifier") {
        return readFlag(value, script.keepNotifier);
    }
    if (key == "plainNotifier") {
        return readFlag(value, script.plainNotifier);
    }
    if (key == "throwAfter") {
        return script.lateException = value.toString(), value.type() == QVariant::String;
    }
    if (key == "delayMs") {
        return readNumber(value, script.delayMs);
    }
    if (key == "times") {
        return readNumber(value, script.times);
    }
    if (key == "releaseAfterMs") {
        return readNumber(value, script.releaseAfterMs);
    }
    if (key == "skip") {
        return readNumber(value, script.skip);
    }
    if (key == "count") {
        return readNumber(value, script.count);
    }
    if (key == "statuses") {
        return readStatuses(value, script);
    }
    if (key == "thread") {
        return readThread(value, script);
    }
    if (key == "throw") {
        return script.exception = value.toString(), value.type() == QVariant::String;
    }
    if (key == "text") {
        return script.text = value.toString(), value.type() == QVariant::String;
    }
    if (key == "reply") {
        return script.reply = value.toMap(), value.type() == QVariant::Map;
    }
    return false;
}

bool isLifeCycleStep(const QString &operation)
{
    return operation.endsWith("Interface") || operation == "init" || operation == "uninit" ||
           operation == "notifier";
}

/// SplitMix64: small, and the same on every machine.
class Dice
{
public:
    explicit Dice(quint64 seed) : m_state(seed) {}

    quint64 next()
    {
        quint64 z = (m_state += 0x9e3779b97f4a7c15u);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
        return z ^ (z >> 31);
    }

    int below(int limit) { return int(next() % quint64(limit)); }
    bool oneIn(int chance) { return below(chance) == 0; }

private:
    quint64 m_state;
};

quint64 textHash(const QString &text)
{
    quint64 hash = 0xcbf29ce484222325u;
    for (const char c : text.toUtf8()) {
        hash = (hash ^ quint8(c)) * 0x100000001b3u;
    }
    return hash;
}

int oddStatus(Dice &dice)
{
    static const int kStatuses[] = {
        std::numeric_limits<int>::min(), -1, 0, 50, 99, 100, 100, 100, 101, 102,
        std::numeric_limits<int>::max()};
    return kStatuses[dice.below(int(sizeof kStatuses / sizeof *kStatuses))];
}

bool answersByReturning(const QString &operation)
{
    for (const char *start : {"get", "sign", "generate", "cookies", "register", "setDomain"}) {
        if (operation.startsWith(start)) {
            return operation != "getUrlWithAuthorizeCode" && !operation.endsWith("Office");
        }
    }
    return false;
}

/// An answer may be late at no cost to others; an operation that returns late holds up its caller.
int hostileDelay(Dice &dice, const QString &operation)
{
    if (answersByReturning(operation)) {
        return dice.oneIn(256) ? 1 + dice.below(3) : 0;
    }
    return dice.oneIn(16) ? dice.below(200) : 0;
}

QVariant oddValue(Dice &dice)
{
    switch (dice.below(7)) {
    case 0:
        return QVariant();
    case 1:
        return dice.below(1000);
    case 2:
        return QString(dice.below(5000), QChar('x'));
    case 3:
        return QVariantList{1, "%1 %2\n", QVariantMap{{"bResult", true}}};
    case 4:
        return true;
    case 5:
        return QString(QChar(0xd800)); // a lone surrogate
    default:
        return QVariantMap{{"bResult", "yes"}, {"meetingUrl", 5}, {"reason", QVariantMap()}};
    }
}

QVariantMap oddReply(Dice &dice)
{
    static const char *const kKeys[] = {"result", "msg", "data", "taskResult", "bResult", ""};
    QVariantMap reply;
    for (const char *key : kKeys) {
        if (!dice.oneIn(3)) {
            reply.insert(key, oddValue(dice));
        }
    }
    return reply;
}

} // namespace

bool isKnownOperation(const QString &operation)
{
    for (const char *known : kKnownOperations) {
        if (operation == known) {
            return true;
        }
    }
    return false;
}

std::optional<Script> scriptFromMap(const QVariantMap &map)
{
    Script script;
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        if (!readKey(it.key(), it.value(), script)) {
            return std::nullopt;
        }
    }
    return script;
}

Script hostileScript(unsigned seed, const QString &operation, unsigned ordinal)
{
    Script script;
    if (isLifeCycleStep(operation)) {
        return script;
    }

    Dice dice((quint64(seed) << 32 | ordinal) ^ textHash(operation));
    script.refuse = dice.oneIn(8);
    if (operation.startsWith("get") && !operation.endsWith("Office") && ordinal % 2) {
        script.text = QString(dice.below(300), QChar('%'));
    }
    if (dice.oneIn(4)) {
        script.reply = oddReply(dice);
    }
    script.delayMs = hostileDelay(dice, operation);
    script.times = dice.oneIn(8) ? 0 : dice.oneIn(8) ? 2 : 1;
    script.inCaller = dice.oneIn(4);
    script.dropAtUninit = dice.oneIn(8);
    if (dice.oneIn(3)) {
        script.statuses.emplace();
        for (int i = dice.below(4); i >= 0; --i) {
            script.statuses->append(oddStatus(dice));
        }
    }
    script.noise = dice.oneIn(4) ? dice.next() | 1 : 0;
    return script;
}

} // namespace zefstandin
