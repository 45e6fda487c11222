#pragma once

#include <QObject>

namespace zefstandin {

/// Raises the account signals. Lives on the host thread, from init to uninit.
class Notifier : public QObject
{
    Q_OBJECT

Q_SIGNALS:
    void initFinished();
    void currentAccountChanged();
    void authInfoChanged();
    void userInfoChanged();
    void companyInfoChanged();
    void accountListInfoChanged();
    void cookieUpdated();
};

} // namespace zefstandin
