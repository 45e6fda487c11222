#include "account/zaccounthandler.h"
#include "dispatch/zmethoddispatcher.h"
#include "log/utils/zutilshandler.h"
#include "meeting/zmeetinghandler.h"
#include "services/zaccessbasehandler.h"
#include "services/znetworkhandler.h"

// The one place that knows every module.
bool ZMethodDispatcher::initHandlers()
{
    m_handlers.insert(QStringLiteral("account"), new ZAccountHandler(this));
    m_handlers.insert(QStringLiteral("network"), new ZNetworkHandler(this));
    m_handlers.insert(QStringLiteral("utils"), new ZUtilsHandler(this));
    m_handlers.insert(QStringLiteral("meeting"), new ZMeetingHandler(this));
    m_handlers.insert(QStringLiteral("accessbase"), new ZAccessbaseHandler(this));
    return true;
}
