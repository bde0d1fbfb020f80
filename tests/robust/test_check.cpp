#include "data/consistency.h"
#include "data/database.h"
#include "support/testsupport.h"

#include <QProcess>
#include <QtTest>

// The library check: rules between the tables named in plain words with the book's code, and
// the command's exit status.
class TestCheck : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rulesNameTheRow();
    void commandExitsNonZeroOnAProblem();
};

void TestCheck::rulesNameTheRow()
{
    TestLibrary lib;
    QVERIFY(lib.isValid());
    const qint32 jan = lib.addClient(QStringLiteral("K1"));
    const qint32 eva = lib.addClient(QStringLiteral("K2"));
    const qint32 a = lib.addBook(QStringLiteral("A"));
    const qint32 b = lib.addBook(QStringLiteral("Čáp"));
    lib.addBook(QStringLiteral("C"));
    lib.lend({a, b}, jan, 20260301);
    lib.giveBack({b}, 20260305);
    QCOMPARE(checkLibrary(), QStringList());

    struct Breakage
    {
        const char *sql;
        const char *found;
    };
    const Breakage cases[] = {
        {"UPDATE KNIHY SET VYPUJCENO = 0 WHERE KOD = 'A'", "kniha 1 (kód A) není vypůjčená, ale odkazuje"},
        {"UPDATE KNIHY SET DATUM_VYRAZENI = 20260101 WHERE KOD = 'C'",
         "kniha 3 (kód C) není vyřazená, a přesto má datum vyřazení"},
        {"UPDATE VYPUJCKY SET ID_LIDE_VYPUJCKY = 2 WHERE ID_KNIHY_VYPUJCKY = 2",
         "výpůjčka 1 patří více klientům najednou"},
        {"UPDATE VYPUJCKY SET DATUM_VRACENI = -1 WHERE ID_KNIHY_VYPUJCKY = 2",
         "výpůjčka 1: kniha 2 je vrácená bez data vrácení"},
        {"UPDATE VYPUJCKY SET DATUM_VRACENI = 20260310 WHERE ID_KNIHY_VYPUJCKY = 1",
         "nevrácená s datem vrácení"},
        // Letter case, Czech letters included, does not make another code or name.
        {"UPDATE KNIHY SET KOD = 'čÁP' WHERE KOD = 'C'", "je použit vícekrát"},
        {"UPDATE LIDE SET KOD = 'k1' WHERE KOD = 'K2'", "kód klienta"},
        {"INSERT INTO KATEGORIE VALUES (50, 'BELETRIE', 0)", "název kategorie"},
    };
    Q_UNUSED(eva);
    for (const Breakage &c : cases) {
        Transaction tx; // rolled back after each case: every breakage is checked alone
        runSql(QString::fromUtf8(c.sql));
        const QStringList found = checkLibrary();
        QVERIFY2(found.filter(QString::fromUtf8(c.found)).size() == 1,
                 qPrintable(QString::fromUtf8(c.sql) + QStringLiteral(" -> ") + found.join(u'|')));
    }
    QCOMPARE(checkLibrary(), QStringList());
}

void TestCheck::commandExitsNonZeroOnAProblem()
{
    TestLibrary lib;
    QVERIFY(lib.isValid());
    const qint32 jan = lib.addClient(QStringLiteral("K1"));
    const qint32 a = lib.addBook(QStringLiteral("A"));
    lib.lend({a}, jan, 20260301);
    auto check = [&lib](QString *out) {
        Database::close();
        QProcess p;
        p.start(QStringLiteral(FOLIVO_CLI),
                {QStringLiteral("check"), QStringLiteral("--data-dir"), lib.dir()});
        p.waitForFinished(60000);
        *out = QString::fromUtf8(p.readAllStandardOutput()) + QString::fromUtf8(p.readAllStandardError());
        Database::open(lib.dbPath());
        return p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    };
    QString out;
    QCOMPARE(check(&out), 0);
    QVERIFY2(out.contains(QStringLiteral("no problem found")), qPrintable(out));

    // A power cut between the two writes of a loan in a program without transactions.
    runSql(QStringLiteral("DELETE FROM VYPUJCKY"));
    runSql(QStringLiteral("UPDATE IDS SET ID_KNIHY_FIRSTFREE = 1"));
    QCOMPARE(check(&out), 1);
    QVERIFY2(
        out.contains(QStringLiteral("kniha 1 (kód A) je vypůjčená, ale nemá právě jednu otevřenou výpůjčku")),
        qPrintable(out));
    QVERIFY2(out.contains(QStringLiteral("kniha 1 má klíč, který ještě nebyl přidělen")), qPrintable(out));
    QVERIFY2(out.contains(QStringLiteral("2 problem(s) found")), qPrintable(out));

    // A library the command cannot open is a failure too, never "no problem".
    Database::close();
    QFile f(lib.dbPath());
    QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write("not a database at all");
    f.close();
    QProcess p;
    p.start(QStringLiteral(FOLIVO_CLI), {QStringLiteral("check"), QStringLiteral("--data-dir"), lib.dir()});
    QVERIFY(p.waitForFinished(60000));
    QVERIFY(p.exitCode() != 0);
}

QTEST_GUILESS_MAIN(TestCheck)
#include "test_check.moc"
