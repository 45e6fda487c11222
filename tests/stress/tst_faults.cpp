#include "support/childprocess.h"
#include "support/rows.h"

#include <QtTest>

/// Makes every single call of a kind fail that the process makes from init to uninit, one after the
/// other, each in a process of its own.
class tst_Faults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyFailureIsSurvived_data();
    void everyFailureIsSurvived();
};

namespace {

constexpr int kSeconds = 60;
constexpr int kMostCalls = 2000;

/// What a start is promised to do when this is missing; everything else may do either.
const QHash<QByteArray, bool> kPromised = {
    {"libzaccountlite.so", false},   {"InitInterface", false},
    {"GetInterface", false},         {"UninitInterface", true},
    {"libvemolog.so", true},         {"writeMsg", true},
    {"onAboutToQuit", true},         {"getVemoLogSavePath", true},
    {"explicitDefineLogName", true}, {"explicitDefineProductNameForLogPath", true},
    {"host thread", false},
};

} // namespace

void tst_Faults::everyFailureIsSurvived_data()
{
    // mustFail: what has to be among the calls that failed
    const auto row = columns<QByteArrayList>("mustFail");

    row("dlopen", QByteArrayList{"libzaccountlite.so", "libvemolog.so"});
    row("dlsym", QByteArrayList{"InitInterface", "GetInterface", "UninitInterface", "writeMsg",
                                "getVemoLogSavePath"});
    row("threads", QByteArrayList{"host thread"});
    row("files", QByteArrayList{});
}

void tst_Faults::everyFailureIsSurvived()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    QSKIP("the sanitizer's runtime replaces the same functions");
#endif
    QFETCH(QByteArrayList, mustFail);
    const std::string kind = QTest::currentDataTag();

    QByteArrayList failed;
    for (int number = 1; number <= kMostCalls; ++number) {
        const ChildResult child = runChild(
            {siblingProgram("zef_faultchild"), kind, std::to_string(number)}, {}, kSeconds);
        const QByteArray errors = QByteArray::fromStdString(child.errors);
        const QByteArrayList words =
            QByteArray::fromStdString(child.output).simplified().split(' ');
        const QByteArray what = words.mid(2).join(' ');
        QVERIFY2(child.exitCode == 0, kind.c_str() + QByteArray(" failed for ") + what +
                                          ", number " + QByteArray::number(number) + ", signal " +
                                          QByteArray::number(child.signal) + ": " + errors);
        if (what.isEmpty()) {
            break;
        }
        failed.append(what);
        QCOMPARE(words.at(1), kPromised.value(what, words.at(1) == "1") ? "1" : "0");
    }
    qInfo("%d calls of this kind failed in turn", int(failed.size()));
    QVERIFY(!failed.isEmpty() && failed.size() < kMostCalls);
    for (const QByteArray &what : mustFail) {
        QVERIFY2(failed.contains(what), what + " was never asked for");
    }
}

QTEST_APPLESS_MAIN(tst_Faults)
#include "tst_faults.moc"
