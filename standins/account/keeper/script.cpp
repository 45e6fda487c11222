#include "keeper/script.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <thread>
#include <variant>

namespace zefstandin {

namespace {

bool isNumber(const QVariant &value)
{
    return value.type() == QVariant::Double || value.type() == QVariant::Int ||
           value.type() == QVariant::LongLong;
}

bool read(const QVariant &value, int &number)
{
    number = value.toInt();
    return isNumber(value);
}

bool read(const QVariant &value, QVector<int> &numbers)
{
    const QVariantList list = value.toList();
    for (const QVariant &number : list) {
        numbers.append(number.toInt());
    }
    return value.type() == QVariant::List && std::all_of(list.begin(), list.end(), isNumber);
}

/// A bool, a text or a map.
template <typename Value>
bool read(const QVariant &value, Value &target)
{
    target = value.value<Value>();
    return value.userType() == qMetaTypeId<Value>();
}

template <typename Value>
bool read(const QVariant &value, std::optional<Value> &target)
{
    return read(value, target.emplace());
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
    {"plainNotifier", &Script::plainNotifier},
    {"leave", &Script::leave},
    {"skip", &Script::skip},
    {"count", &Script::count},
};

bool readMember(const QString &name, const QVariant &value, Script &script)
{
    const auto *const key = std::find_if(std::begin(kKeys), std::end(kKeys),
                                         [&](const Key &known) { return name == known.name; });
    return key != std::end(kKeys) &&
           std::visit([&](auto member) { return read(value, script.*member); }, key->member);
}

} // namespace

QStringList scriptKeys()
{
    QStringList keys;
    for (const Key &key : kKeys) {
        keys.append(key.name);
    }
    return keys;
}

std::optional<QVector<Script>> scriptsFrom(const QVariant &value)
{
    constexpr int kAllCalls = -1;
    const bool isList = value.type() == QVariant::List;
    const QVariantList list = isList ? value.toList() : QVariantList{value};
    QVector<Script> scripts;
    for (const QVariant &entry : list) {
        Script script;
        script.count = isList ? 1 : kAllCalls;
        const QVariantMap members = entry.toMap();
        bool isValid = entry.type() == QVariant::Map;
        for (auto it = members.cbegin(); it != members.cend(); ++it) {
            isValid = isValid && readMember(it.key(), it.value(), script);
        }
        if (!isValid) {
            return std::nullopt;
        }
        scripts.append(script);
    }
    return scripts;
}

void Script::beginCall(bool sleeps) const
{
    if (sleeps && delayMs > 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
    }
    if (quit) {
        QCoreApplication::quit();
    }
    if (loopMs != 0) {
        QEventLoop loop;
        if (loopMs > 0) {
            QTimer::singleShot(loopMs, &loop, &QEventLoop::quit);
        }
        loop.exec();
    }
    if (exception) {
        throw std::runtime_error(exception->toStdString());
    }
}

} // namespace zefstandin
