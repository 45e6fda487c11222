#pragma once

#include <QMetaMethod>
#include <QObject>

#include <functional>

namespace zefstandin {

/// Raises the account signals. Lives on the host thread, from init to uninit.
class Notifier : public QObject
{
    Q_OBJECT

public:
    /// \param onConnected called when initFinished() has been connected.
    explicit Notifier(std::function<void()> onConnected) : m_onConnected(std::move(onConnected)) {}

    /// Raises a signal by its name, on this thread. \return false when there is none.
    bool raise(const QByteArray &name)
    {
        const int index = metaObject()->indexOfSignal(name + "()");
        return index >= metaObject()->methodOffset() &&
               metaObject()->method(index).invoke(this, Qt::DirectConnection);
    }

    /// The name of one of its signals, chosen by any number.
    static QByteArray signalName(quint64 number)
    {
        // Signals are the first methods of a class.
        const QMetaObject &meta = staticMetaObject;
        const quint64 count = quint64(meta.methodCount() - meta.methodOffset());
        return meta.method(meta.methodOffset() + int(number % count)).name();
    }

Q_SIGNALS:
    void initFinished();
    void currentAccountChanged();
    void authInfoChanged();
    void userInfoChanged();
    void companyInfoChanged();
    void accountListInfoChanged();
    void cookieUpdated();

protected:
    void connectNotify(const QMetaMethod &signal) override
    {
        if (signal == QMetaMethod::fromSignal(&Notifier::initFinished)) {
            m_onConnected();
        }
    }

private:
    const std::function<void()> m_onConnected;
};

} // namespace zefstandin
