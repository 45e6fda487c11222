#include "support/childprocess.h"

#include <QFile>
#include <QJsonDocument>
#include <QtTest>

namespace {

QString document(const QString &name)
{
    QFile file(QStringLiteral(ZEF_SOURCE_DIR "/") + name);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

class tst_Documents : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void minimalHostIsShownAndRuns();
};

void tst_Documents::minimalHostIsShownAndRuns()
{
    const QString shown = "```cpp\n" + document("examples/minimal/main.cpp") + "```\n";
    QVERIFY(document("README.md").contains(shown));
    const ChildResult minimal = runChild({siblingProgram("zef_minimal_host")});
    QVERIFY2(minimal.exitCode == 0, minimal.errors.c_str());
    QVERIFY(QJsonDocument::fromJson(QByteArray::fromStdString(minimal.output)).isObject());
}

QTEST_APPLESS_MAIN(tst_Documents)

#include "tst_documents.moc"
