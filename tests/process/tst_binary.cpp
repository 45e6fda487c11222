#include "support/loadedlibrary.h"

#include <QtTest>

#include <elf.h>

#include <cstring>

/// The file of the library, as the loader sees it.
class tst_Binary : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void exportsOneSymbol();
    void findsItsNeighboursFirst();
    void isHardened();

private:
    template <typename Record>
    std::vector<Record> recordsOf(unsigned sectionType) const;
    const char *textAt(unsigned sectionType, std::size_t offset) const;
    const Elf64_Shdr *section(unsigned type) const;
    Elf64_Xword dynamic(Elf64_Sxword tag) const;

    QByteArray m_file;
};

void tst_Binary::initTestCase()
{
    QFile file(QString::fromStdString(libraryFolder() + "/libzelectronframework.so"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    m_file = file.readAll();
}

const Elf64_Shdr *tst_Binary::section(unsigned type) const
{
    const auto *header = reinterpret_cast<const Elf64_Ehdr *>(m_file.constData());
    const auto *sections =
        reinterpret_cast<const Elf64_Shdr *>(m_file.constData() + header->e_shoff);
    for (int i = 0; i < header->e_shnum; ++i) {
        if (sections[i].sh_type == type) {
            return &sections[i];
        }
    }
    qFatal("no such section");
}

template <typename Record>
std::vector<Record> tst_Binary::recordsOf(unsigned sectionType) const
{
    const Elf64_Shdr *found = section(sectionType);
    std::vector<Record> records(found->sh_size / sizeof(Record));
    std::memcpy(records.data(), m_file.constData() + found->sh_offset, found->sh_size);
    return records;
}

/// A name out of the string table that belongs to a section.
const char *tst_Binary::textAt(unsigned sectionType, std::size_t offset) const
{
    const auto *header = reinterpret_cast<const Elf64_Ehdr *>(m_file.constData());
    const auto *sections =
        reinterpret_cast<const Elf64_Shdr *>(m_file.constData() + header->e_shoff);
    return m_file.constData() + sections[section(sectionType)->sh_link].sh_offset + offset;
}

Elf64_Xword tst_Binary::dynamic(Elf64_Sxword tag) const
{
    for (const Elf64_Dyn &entry : recordsOf<Elf64_Dyn>(SHT_DYNAMIC)) {
        if (entry.d_tag == tag) {
            return entry.d_un.d_val;
        }
    }
    return 0;
}

void tst_Binary::exportsOneSymbol()
{
    QByteArrayList exported;
    for (const Elf64_Sym &symbol : recordsOf<Elf64_Sym>(SHT_DYNSYM)) {
        // Local ones are sections, which the loader never offers to anybody.
        if (symbol.st_shndx != SHN_UNDEF && ELF64_ST_BIND(symbol.st_info) != STB_LOCAL) {
            exported.append(textAt(SHT_DYNSYM, symbol.st_name));
        }
    }
    QCOMPARE(exported, QByteArrayList{"createElectronFrameworkObject"});
}

void tst_Binary::findsItsNeighboursFirst()
{
    QCOMPARE(dynamic(DT_RUNPATH), Elf64_Xword(0)); // LD_LIBRARY_PATH would come before it
    QCOMPARE(QByteArray(textAt(SHT_DYNAMIC, dynamic(DT_RPATH))), QByteArray("$ORIGIN"));
    for (const Elf64_Dyn &entry : recordsOf<Elf64_Dyn>(SHT_DYNAMIC)) {
        if (entry.d_tag == DT_NEEDED) {
            const QByteArray needed = textAt(SHT_DYNAMIC, entry.d_un.d_val);
            QVERIFY2(!needed.contains("vemo") && !needed.contains("zaccount"), needed);
        }
    }
}

void tst_Binary::isHardened()
{
    const Elf64_Xword flags = dynamic(DT_FLAGS_1);
    QVERIFY(flags & DF_1_NOW);
    QVERIFY(flags & DF_1_NODELETE);
    QCOMPARE(dynamic(DT_TEXTREL), Elf64_Xword(0));

    const auto *header = reinterpret_cast<const Elf64_Ehdr *>(m_file.constData());
    const auto *segments =
        reinterpret_cast<const Elf64_Phdr *>(m_file.constData() + header->e_phoff);
    bool isRelro = false;
    bool isStackExecutable = true;
    for (int i = 0; i < header->e_phnum; ++i) {
        isRelro = isRelro || segments[i].p_type == PT_GNU_RELRO;
        if (segments[i].p_type == PT_GNU_STACK) {
            isStackExecutable = segments[i].p_flags & PF_X;
        }
    }
    QVERIFY(isRelro);
    QVERIFY(!isStackExecutable);
    QVERIFY(m_file.contains("__stack_chk_fail"));
}

QTEST_APPLESS_MAIN(tst_Binary)
#include "tst_binary.moc"
