#include "account/zaccounthandler.h"
#include "dispatch/zmethoddispatcher.h"
#include "log/utils/zutilshandler.h"
#include "meeting/zmeetinghandler.h"
#include "services/zaccessbasehandler.h"
#include "services/znetworkhandler.h"

// The one place that knows every module.
bool ZMethodDispatcher::initHandlers()
{
    addHandler(QStringLiteral("account"), new ZAccountHandler(this));
    addHandler(QStringLiteral("network"), new ZNetworkHandler(this));
    addHandler(QStringLiteral("utils"), new ZUtilsHandler(this));
    addHandler(QStringLiteral("meeting"), new ZMeetingHandler(this));
    addHandler(QStringLiteral("accessbase"), new ZAccessbaseHandler(this));
    return true;
}
