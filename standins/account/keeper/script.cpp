#include "keeper/script.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <variant>

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

bool read(const QVariant &value, bool &flag)
{
    flag = value.toBool();
    return value.type() == QVariant::Bool;
}

bool read(const QVariant &value, int &number)
{
    number = value.toInt();
    return isNumber(value);
}

bool read(const QVariant &value, std::optional<QString> &text)
{
    text = value.toString();
    return value.type() == QVariant::String;
}

bool read(const QVariant &value, std::optional<QVariantMap> &map)
{
    map = value.toMap();
    return value.type() == QVariant::Map;
}

bool read(const QVariant &value, std::optional<QVector<int>> &numbers)
{
    numbers.emplace();
    const QVariantList list = value.toList();
    for (const QVariant &number : list) {
        numbers->append(number.toInt());
    }
    return value.type() == QVariant::List && std::all_of(list.begin(), list.end(), isNumber);
}

bool read(const QVariant &value, Script::Thread &thread)
{
    const QString name = value.toString();
    thread = name == "caller" ? Script::Thread::caller : Script::Thread::library;
    return name == "caller" || name == "library";
}

/// One key of a script and the member that takes its value.
struct Key
{
    const char *name;
    std::variant<bool Script::*, int Script::*, std::optional<QString> Script::*,
                 std::optional<QVariantMap> Script::*, std::optional<QVector<int>> Script::*,
                 Script::Thread Script::*>
        member;
};

const Key kKeys[] = {
    {"refuse", &Script::refuse},
    {"null", &Script::nullResult},
    {"throw", &Script::exception},
    {"throwAfter", &Script::lateException},
    {"reply", &Script::reply},
    {"text", &Script::text},
    {"statuses", &Script::statuses},
    {"delayMs", &Script::delayMs},
    {"times", &Script::times},
    {"thread", &Script::thread},
    {"hold", &Script::hold},
    {"releaseAfterMs", &Script::releaseAfterMs},
    {"dropAtUninit", &Script::dropAtUninit},
    {"loopMs", &Script::loopMs},
    {"quit", &Script::quit},
    {"destroyContext", &Script::destroyContext},
    {"keepNotifier", &Script::keepNotifier},
    {"plainNotifier", &Script::plainNotifier},
    {"skip", &Script::skip},
    {"count", &Script::count},
};

bool readKey(const QString &name, const QVariant &value, Script &script)
{
    for (const Key &key : kKeys) {
        if (name == key.name) {
            return std::visit([&](auto member) { return read(value, script.*member); }, key.member);
        }
    }
    return false;
}

std::optional<Script> scriptFromMap(const QVariantMap &map, int count)
{
    Script script;
    script.count = count;
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        if (!readKey(it.key(), it.value(), script)) {
            return std::nullopt;
        }
    }
    return script;
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
    static const char *const kReplyKeys[] = {"result", "msg", "data", "taskResult", "bResult", ""};
    QVariantMap reply;
    for (const char *key : kReplyKeys) {
        if (!dice.oneIn(3)) {
            reply.insert(key, oddValue(dice));
        }
    }
    return reply;
}

} // namespace

bool isKnownOperation(const QString &operation)
{
    return std::find(std::begin(kKnownOperations), std::end(kKnownOperations), operation) !=
           std::end(kKnownOperations);
}

std::optional<QVector<Script>> scriptsFrom(const QVariant &value)
{
    constexpr int kAllCalls = -1;
    const bool isList = value.type() == QVariant::List;
    const QVariantList list = isList ? value.toList() : QVariantList{value};
    QVector<Script> scripts;
    for (const QVariant &entry : list) {
        const std::optional<Script> script = scriptFromMap(entry.toMap(), isList ? 1 : kAllCalls);
        if (!script || entry.type() != QVariant::Map) {
            return std::nullopt;
        }
        scripts.append(*script);
    }
    return scripts;
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
    script.thread = dice.oneIn(4) ? Script::Thread::caller : Script::Thread::library;
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
