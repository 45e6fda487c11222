#pragma once

#include "account/control.h"
#include "account/iaccountsdk.h"

#include <QObject>

#include <mutex>

/// How long a test waits before it gives up.
constexpr int kPatience = 20000;

QVariantMap fromJson(const QByteArray &text);

/// Settings with this "standin" object; the text uses ' for ".
QVariantMap settings(const char *standin);

/// An operation by its name; null when there is none.
using LoginOperation = void (ILoginService::*)(const QVariantMap &, const CallBackFunc &);
LoginOperation loginOperation(const QString &name);

QStringList lines(const std::vector<std::string> &texts);

/// One run of the stand-in, loaded as its user loads it: opened, initialised, ended, closed.
class LoadedStandin
{
public:
    /// \param file as dlopen takes it.
    explicit LoadedStandin(const char *file = "libzaccountlite.so");
    ~LoadedStandin() { close(); }

    /// Runs all steps; false as soon as one fails. What init throws comes through.
    bool start(const QVariantMap &settings);
    void close();

    bool isOpen() const { return m_handle; }
    bool has(const char *symbol) const;
    IAccountSdk *operator->() const { return m_sdk; }

    /// Whether a file of the stand-in's name is part of this process.
    static bool isMapped();

    /// The control, from the library that stays.
    static zefstandin::AccountControl *control();

private:
    void *m_handle = nullptr;
    IAccountSdk *m_sdk = nullptr;
};

/// Notes the signals of the notifier, in the order and on the threads in which they are raised.
class SignalLog
{
public:
    explicit SignalLog(QObject *notifier);

    QStringList take();

private:
    friend class SignalListener;

    std::mutex m_mutex; // guards m_names
    QStringList m_names;
    QObject m_listeners; // owns one per signal
};

class SignalListener : public QObject
{
    Q_OBJECT

public:
    SignalListener(SignalLog *log, const QString &name, QObject *parent)
        : QObject(parent), m_log(log), m_name(name)
    {
    }

public Q_SLOTS:
    void note();

private:
    SignalLog *m_log;
    QString m_name;
};
