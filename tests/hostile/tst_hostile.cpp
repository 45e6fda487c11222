#include "support/childprocess.h"

#include <QtTest>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif

/// Runs each case of zef_hostile in a process of its own.
class tst_Hostile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void hostIsLeftInPeace_data();
    void hostIsLeftInPeace();
};

void tst_Hostile::hostIsLeftInPeace_data()
{
    QTest::addColumn<QString>("name");

    const ChildResult list = runChild({siblingProgram("zef_hostile")});
    const QStringList names = QString::fromStdString(list.output).trimmed().split('\n');
    QVERIFY(names.size() > 1);
    for (const QString &name : names) {
        QTest::newRow(qPrintable(name)) << name;
    }
}

void tst_Hostile::hostIsLeftInPeace()
{
    QFETCH(QString, name);
    if ((name.startsWith("fork") || name.startsWith("pthread_exit")) &&
        (kIsSanitized || !qEnvironmentVariableIsEmpty("ZEF_TEST_EMULATOR"))) {
        QSKIP("the sanitizer or emulator itself does not survive that");
    }

    const ChildResult result = runChild({siblingProgram("zef_hostile"), name.toStdString()});
    QCOMPARE(QString::fromStdString(result.output), QString());
    QCOMPARE(QString::fromStdString(result.errors), QString());
    QCOMPARE(result.signal, 0);
    QCOMPARE(result.exitCode, name.startsWith("exit ") ? 7 : 0);
}

QTEST_APPLESS_MAIN(tst_Hostile)
#include "tst_hostile.moc"
