// Any text as path of a method and of an event: split as promised, and answered with the one text
// that names what is wrong, by call and by asynCall.

#include "account/zaccounthandler.h"
#include "base/run.h"
#include "dispatch/dottedpath.h"
#include "dispatch/zeventmanager.h"
#include "dispatch/zmethoddispatcher.h"
#include "framework/zelectronapplication.h"
#include "log/utils/zutilshandler.h"
#include "meeting/zmeetinghandler.h"
#include "services/zaccessbasehandler.h"
#include "services/znetworkhandler.h"

#include <QHash>
#include <QStringList>

#include <cstdio>
#include <cstdlib>

namespace {

[[noreturn]] void fail(const char *what, const QString &path, const QVariantMap &reply)
{
    std::fprintf(stderr, "%s\npath: %s\nreply: %s, %s\n", what, qUtf8Printable(path),
                 qUtf8Printable(reply.value("result").toString()),
                 qUtf8Printable(reply.value("msg").toString()));
    std::abort();
}

void require(bool holds, const char *what, const QString &path, const QVariantMap &reply = {})
{
    if (!holds) {
        fail(what, path, reply);
    }
}

const QMetaObject *moduleClass(const QString &module)
{
    static const QHash<QString, const QMetaObject *> classes{
        {"account", &ZAccountHandler::staticMetaObject},
        {"network", &ZNetworkHandler::staticMetaObject},
        {"utils", &ZUtilsHandler::staticMetaObject},
        {"meeting", &ZMeetingHandler::staticMetaObject},
        {"accessbase", &ZAccessbaseHandler::staticMetaObject},
    };
    return classes.value(module);
}

bool hasMethod(const QString &module, const QString &name)
{
    const QByteArray signature = name.toLatin1() + "(QVariantMap,CallBackFunc)";
    return moduleClass(module)->indexOfMethod(QMetaObject::normalizedSignature(signature)) >= 0;
}

/// The text that names what is wrong with the path itself; null when the method is there.
QString expectedFailure(const QString &path, const char *kind)
{
    const QStringList parts = path.split('.');
    if (parts.size() < 2) {
        return "Wrong number of arguments";
    }
    if (!moduleClass(parts[0])) {
        return parts[0] + " not found";
    }
    return hasMethod(parts[0], parts[1]) ? QString()
                                         : "method:" + parts[1] + ' ' + kind + " failed";
}

void checkReply(const QString &path, const QVariantMap &reply, const char *kind)
{
    const QString failure = expectedFailure(path, kind);
    const QString result = reply.value("result").toString();
    if (failure.isNull()) {
        // Without an account library a method fails by a text of its own; a few need none.
        require(result == "fail" || result == "ok", "no result", path, reply);
        return;
    }
    const QVariantMap expected{{"result", "fail"}, {"msg", failure}};
    require(reply == expected, "another failure than the path's", path, reply);
}

void checkSplit(const QString &path)
{
    const QStringList parts = path.split('.');
    const auto split = splitDottedPath(path);
    require(split.has_value() == (parts.size() > 1), "split or not", path);
    require(!split || (split->module == parts[0] && split->name == parts[1]), "parts", path);
}

/// An application that was not initialised: no account library, no log.
struct Fixture
{
    Fixture() : application(argc, nullptr), dispatcher(&application), events(&application)
    {
        require(Run::begin() && dispatcher.initHandlers(), "no start", {});
    }

    int argc = 0;
    ZElectronApplication application;
    ZMethodDispatcher dispatcher;
    ZEventManager events;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static Fixture &fixture = *new Fixture;

    const QString path =
        QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<int>(size));
    checkSplit(path);
    checkReply(path, fixture.dispatcher.call(path, {}), "call");

    int replies = 0;
    const auto count = [&](const QVariantMap &reply) {
        ++replies;
        checkReply(path, reply, "asynCall");
    };
    require(fixture.dispatcher.asynCall(path, {}, count), "nothing was queued", path);
    require(replies == 0, "answered from inside asynCall", path);
    QCoreApplication::sendPostedEvents();
    require(replies == 1, "not answered once", path);

    require(fixture.events.addListener(path, count) == 0, "subscribed to nobody", path);
    return 0;
}
