#include "account/officetasks.h"

QStringList suiteAppIds()
{
    // The repetition is part of the interface. Never destroyed: library threads may use it while
    // the process exits.
    static const QStringList &ids = *new QStringList{
        QStringLiteral("tavo"), QStringLiteral("semi"),       QStringLiteral("rulo"),
        QStringLiteral("semi"), QStringLiteral("tavooffice"), QStringLiteral("pell")};
    return ids;
}

QVariantMap taskResult(const QVariantMap &reply)
{
    return reply.value(QStringLiteral("taskResult")).toMap();
}

bool isTaskGranted(const QVariantMap &result)
{
    return result.value(QStringLiteral("bResult")).toBool();
}
