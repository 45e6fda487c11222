#include "support/childprocess.h"
#include "support/loadedlibrary.h"
#include "support/rows.h"

#include <QRegularExpression>
#include <QtTest>

/// The file of the library, as the loader sees it.
class tst_Binary : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void exportsOneSymbol();
    void isLoadedAndHardenedAsMeant_data();
    void isLoadedAndHardenedAsMeant();

private:
    QString m_dump;
};

void tst_Binary::initTestCase()
{
    const ChildResult result =
        runTool({"readelf", "--wide", "--dynamic", "--segments", "--dyn-syms",
                 libraryFolder() + "/libzelectronframework.so"},
                {"LC_ALL=C"});
    QCOMPARE(result.exitCode, 0);
    m_dump = QString::fromStdString(result.output);
}

void tst_Binary::exportsOneSymbol()
{
    // Local symbols are sections, which the loader never offers to anybody.
    const QRegularExpression exported(
        R"(^ +\d+: \S+ +\d+ \w+ +(?:GLOBAL|WEAK|UNIQUE) +\w+ +(?!UND)\w+ (\S+))",
        QRegularExpression::MultilineOption);
    QStringList names;
    for (auto match = exported.globalMatch(m_dump); match.hasNext();) {
        names.append(match.next().captured(1));
    }
    QCOMPARE(names, QStringList{"createElectronFrameworkObject"});
}

void tst_Binary::isLoadedAndHardenedAsMeant_data()
{
    const auto row = columns<QString, bool>("pattern", "isThere");

    row("own folder first", R"(\(RPATH\).*\[\$ORIGIN\])", true);
    row("not after LD_LIBRARY_PATH", R"(\(RUNPATH\))", false);
    row("log library linked", R"(\(NEEDED\).*vemo)", false);
    row("account library linked", R"(\(NEEDED\).*zaccount)", false);
    row("never unloaded", R"(\(FLAGS_1\).*NODELETE)", true);
    row("bound at once", R"(\(FLAGS_1\).*NOW)", true);
    row("read-only after that", "GNU_RELRO", true);
    row("code is written to", "TEXTREL", false);
    row("stack is no code", R"(GNU_STACK.* RW +0x)", true);
    row("stack protector", "__stack_chk_fail", true);
}

void tst_Binary::isLoadedAndHardenedAsMeant()
{
    QFETCH(QString, pattern);
    QTEST(m_dump.contains(QRegularExpression(pattern)), "isThere");
}

QTEST_APPLESS_MAIN(tst_Binary)
#include "tst_binary.moc"
