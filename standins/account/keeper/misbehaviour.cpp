#include "keeper/misbehaviour.h"

#include "keeper/vocabulary.h"
#include "splitmix64.h"

#include <iterator>
#include <limits>

namespace zefstandin {

namespace {

quint64 textHash(const QString &text)
{
    quint64 hash = 0xcbf29ce484222325u;
    for (const char c : text.toUtf8()) {
        hash = (hash ^ quint8(c)) * 0x100000001b3u;
    }
    return hash;
}

int oddStatus(SplitMix64 &dice)
{
    static const int kStatuses[] = {
        std::numeric_limits<int>::min(), -1, 0, 50, 99, 100, 100, 100, 101, 102,
        std::numeric_limits<int>::max()};
    return kStatuses[dice.below(int(std::size(kStatuses)))];
}

/// A late answer delays nothing else; an operation that returns late blocks its caller.
int oddDelay(SplitMix64 &dice, Operation operation)
{
    if (answersByReturning(operation)) {
        return dice.oneIn(256) ? 1 + dice.below(3) : 0;
    }
    return dice.oneIn(16) ? dice.below(200) : 0;
}

QVariant oddValue(SplitMix64 &dice)
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

QVariantMap oddReply(SplitMix64 &dice)
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

Script misbehaviour(unsigned seed, const QString &name, unsigned ordinal)
{
    Script script;
    const Operation operation = findOperation(name).value_or(Operation::step);
    if (operation == Operation::step) {
        return script;
    }

    SplitMix64 dice((quint64(seed) << 32 | ordinal) ^ textHash(name));
    script.refuse = dice.oneIn(8);
    if (operation == Operation::query && ordinal % 2) {
        script.text = QString(dice.below(300), QChar('%'));
    }
    if (dice.oneIn(4)) {
        script.reply = oddReply(dice);
    }
    script.delayMs = oddDelay(dice, operation);
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
