// HTML pages and PDF files land whole or not at all, and never on the program's own files: through
// the core functions and through folivo-cli, for plain paths, symbolic and hard links, read-only
// and vanished folders, a full disk and a job stopped halfway.
#include "backup/backuptesthelpers.h"
#include "data/database.h"
#include "reports/htmlcore.h"
#include "reports/printdocs.h"
#include "support/testsupport.h"

#include <QDir>
#include <QDirIterator>
#include <QTest>

#include <sys/resource.h>
#include <unistd.h>

namespace {

// Every file under dir with its content: what a refused or failed write must leave as it was.
QMap<QString, QByteArray> snapshot(const QString &dir)
{
    QMap<QString, QByteArray> files;
    QDirIterator it(dir, QDir::Files | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        files.insert(QDir(dir).relativeFilePath(path), QFileInfo(path).isSymLink() ? "->" : fileBytes(path));
    }
    return files;
}

// The two writers of the core, answering whether the file was written.
bool html(const QString &target, int rows = 3)
{
    return writeReportHtml(target, QStringLiteral("Knihy vyřazené"), madeUpReportRows(rows),
                           QStringLiteral("Nalezeno"))
        .ok();
}

bool pdf(const QString &target, int rows = 3, const PageProgress &progress = {})
{
    return writePdf(reportDocument(QStringLiteral("Knihy vyřazené"), madeUpReportRows(rows),
                                   QStringLiteral("S"), today()),
                    target, progress)
        .ok();
}

// Runs the writer on a disk that fills up after limit bytes.
template <typename F> bool onFullDisk(rlim_t limit, F writer)
{
    BackupTest::FileSizeLimit full(limit);
    return writer();
}

// Runs the writer as an ordinary user when the tests run as root, for whom no folder is read-only.
template <typename F> bool asOrdinaryUser(F writer)
{
    const bool root = geteuid() == 0;
    if (root && seteuid(65534) != 0)
        return writer();
    const bool ok = writer();
    if (root)
        (void)seteuid(0);
    return ok;
}

} // namespace

class TestOutputFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void protectedTargets();
    void failedWritesKeepThePreviousFile();
    void pageTextsInUtf8();

private:
    std::unique_ptr<TestLibrary> m_lib;
    QString m_oldCurrent;
    qint32 m_loan = -1;
};

void TestOutputFiles::init()
{
    m_lib = std::make_unique<TestLibrary>();
    QVERIFY(m_lib->isValid());
    const qint32 client = m_lib->addClient(QStringLiteral("K1"));
    m_loan = m_lib->lend({m_lib->addBook(QStringLiteral("A1"))}, client, 20260301);
    Database::close(); // folivo-cli opens the library itself
    m_oldCurrent = QDir::currentPath();
    QDir::setCurrent(m_lib->dir()); // the program works in its data directory
    QDir().mkpath(QStringLiteral("Temp"));
    QDir().mkpath(QStringLiteral("Export"));
    QVERIFY(writeBytes(QStringLiteral("Folivo.ini"), QByteArray(164, 'i')));
    QVERIFY(writeBytes(QStringLiteral("rvmsgbit.dat"), "picture"));
    QVERIFY(writeBytes(QStringLiteral("Temp/zaloha.dat"), "a backup being read"));
}

void TestOutputFiles::cleanup()
{
    QDir::setCurrent(m_oldCurrent);
    m_lib.reset();
}

void TestOutputFiles::protectedTargets()
{
    const QString dir = m_lib->dir();
    QVERIFY(QFile::link(QStringLiteral("../Folivo.db"), QStringLiteral("Export/link.html")));
    QVERIFY(QFile::link(QStringLiteral("../Folivo.ini"), QStringLiteral("Export/link.pdf")));
    QVERIFY(QFile::link(QStringLiteral("../Folivo.db-journal"), QStringLiteral("Export/dangling.html")));
    QVERIFY(::link("Folivo.db", "Export/hard.html") == 0);
    QVERIFY(::link("rvmsgbit.dat", "Export/hard.pdf") == 0);
    const QStringList targets = {
        QStringLiteral("Folivo.db"),
        QDir(dir).filePath(QStringLiteral("Folivo.db")),
        QStringLiteral("Export/../Folivo.db"),
        QStringLiteral("Folivo.db-journal"),
        QStringLiteral("Folivo.ini"),
        QStringLiteral("rvmsgbit.dat"),
        QStringLiteral("Temp/zaloha.dat"),
        QStringLiteral("Temp/new.html"),
        QStringLiteral("Export/link.html"),
        QStringLiteral("Export/link.pdf"),
        QStringLiteral("Export/dangling.html"),
        QStringLiteral("Export/hard.html"),
        QStringLiteral("Export/hard.pdf"),
    };
    const QMap<QString, QByteArray> before = snapshot(dir);
    for (const QString &target : targets) {
        QVERIFY2(!html(target), qPrintable(target));
        QVERIFY2(!pdf(target), qPrintable(target));
        // The command line, started elsewhere, with the target named by its full path.
        const QString full = QFileInfo(target).absoluteFilePath();
        const QList<QStringList> commands = {
            {QStringLiteral("report"), QStringLiteral("7"), QStringLiteral("--html"), full},
            {QStringLiteral("protocol"), QStringLiteral("loan"), QString::number(m_loan),
             QStringLiteral("--pdf"), full}};
        for (const QStringList &args : commands) {
            const CliRun r =
                runCli(args + QStringList{QStringLiteral("--data-dir"), dir}, [] { (void)::chdir("/"); });
            QVERIFY2(r.code == 1, qPrintable(target + QLatin1Char(' ') + r.err));
            QVERIFY2(r.err.contains(full) && r.err.contains(QStringLiteral("own files")), qPrintable(r.err));
        }
        QCOMPARE(snapshot(dir), before);
    }
    // An ordinary file beside them is written.
    QVERIFY(html(QStringLiteral("Export/sestava.html")));
    QVERIFY(pdf(QStringLiteral("Export/sestava.pdf")));
}

void TestOutputFiles::failedWritesKeepThePreviousFile()
{
    const QString dir = m_lib->dir();
    const QByteArray old = "yesterday's page";
    QVERIFY(writeBytes(QStringLiteral("Export/old.html"), old));
    QVERIFY(writeBytes(QStringLiteral("Export/old.pdf"), old));
    QVERIFY(QFile::setPermissions(dir, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                                           QFile::ReadOther | QFile::ExeOther | QFile::ReadGroup |
                                           QFile::ExeGroup));
    const QMap<QString, QByteArray> before = snapshot(dir);

    // A disk that fills up: the page (about 500 KiB) and the PDF (some 60 pages) outgrow 64 KiB.
    QVERIFY(!onFullDisk(rlim_t(64) * 1024, [] { return html(QStringLiteral("Export/old.html"), 2000); }));
    QVERIFY(!onFullDisk(rlim_t(64) * 1024, [] { return pdf(QStringLiteral("Export/old.pdf"), 2000); }));
    QCOMPARE(snapshot(dir), before);

    // A folder the user may not write into.
    const QFile::Permissions readOnly = QFile::ReadOwner | QFile::ExeOwner | QFile::ReadOther |
                                        QFile::ExeOther | QFile::ReadGroup | QFile::ExeGroup;
    QVERIFY(QFile::setPermissions(QStringLiteral("Export"), readOnly));
    QVERIFY(!asOrdinaryUser([] { return html(QStringLiteral("Export/old.html")); }));
    QVERIFY(!asOrdinaryUser([] { return pdf(QStringLiteral("Export/old.pdf")); }));
    QVERIFY(QFile::setPermissions(QStringLiteral("Export"), readOnly | QFile::WriteOwner));
    QCOMPARE(snapshot(dir), before);

    // A folder that is gone before the write, and one removed while the PDF is being painted.
    QVERIFY(!html(QStringLiteral("Gone/sestava.html")));
    QVERIFY(!pdf(QStringLiteral("Gone/sestava.pdf")));
    QVERIFY(QDir().mkpath(QStringLiteral("Going")));
    QVERIFY(!pdf(QStringLiteral("Going/sestava.pdf"), 200, [](int page, int) {
        return page < 2 || QDir(QStringLiteral("Going")).removeRecursively();
    }));
    QVERIFY(!QFileInfo::exists(QStringLiteral("Going")));
    QCOMPARE(snapshot(dir), before);

    // A job stopped at its second page leaves the previous file and no partial one.
    int asked = 0;
    const PdfResult stopped =
        writePdf(reportDocument(QStringLiteral("T"), madeUpReportRows(200), QString(), today()),
                 QStringLiteral("Export/old.pdf"), [&](int page, int pages) {
                     ++asked;
                     return page < 2 && pages > 2;
                 });
    QVERIFY(stopped.print.cancelled);
    QVERIFY(!stopped.ok());
    QCOMPARE(asked, 2);
    QCOMPARE(snapshot(dir), before);

    // With room on the disk the same writes replace the files.
    QVERIFY(html(QStringLiteral("Export/old.html"), 2000));
    QVERIFY(pdf(QStringLiteral("Export/old.pdf"), 2000));
    QVERIFY(fileBytes(QStringLiteral("Export/old.html")).startsWith("\xEF\xBB\xBF<H2"));
    QVERIFY(fileBytes(QStringLiteral("Export/old.pdf")).startsWith("%PDF"));
    QCOMPARE(snapshot(dir).size(), before.size());
}

void TestOutputFiles::pageTextsInUtf8()
{
    // The page encodes its texts itself: every kind of character comes out as Qt's UTF-8.
    const QString texts[] = {QStringLiteral("Kytice"),
                             QStringLiteral("Žluťoučký kůň úpěl ďábelské ódy"),
                             QStringLiteral("€ ← ∑"),
                             QString::fromUcs4(U"\U0001F4DA knihy"),
                             QString(QChar(0xD800)) + QStringLiteral("x"),
                             QString()};
    for (const QString &text : texts) {
        ReportRow row{text, text, text, text, 1.5f, 1};
        QVERIFY(writeReportHtml(QStringLiteral("Export/utf8.html"), text, {row}, text).ok());
        const QByteArray page = fileBytes(QStringLiteral("Export/utf8.html"));
        QVERIFY2(page.contains(QByteArray("<U>" + text.toUtf8() + "</U>")), qPrintable(text));
        QVERIFY2(page.contains(QByteArray("<TD ALIGN=\"LEFT\">  " + text.toUtf8() + "  </TD>")),
                 qPrintable(text));
    }
    // Prices with two decimals, rounded as the list shows them.
    const struct
    {
        float price;
        const char *text;
    } prices[] = {{12.5f, "12.50"},
                  {0.125f, "0.13"},
                  {0.625f, "0.63"},
                  {0.375f, "0.38"},
                  {-0.001f, "-0.00"},
                  {1e12f, "999999995904.00"},
                  {3e20f, "300000006012263202816.00"}};
    for (const auto &p : prices) {
        ReportRow row{QStringLiteral("A"), QString(), QString(), QString(), p.price, 1};
        QVERIFY(writeReportHtml(QStringLiteral("Export/price.html"), QString(), {row}, QString()).ok());
        QVERIFY2(fileBytes(QStringLiteral("Export/price.html"))
                     .contains(QByteArray(QByteArray("  ") + p.text + "  </TD>\n</TR>")),
                 p.text);
        QCOMPARE(QString::asprintf("%.02f", double(p.price)), QString::fromLatin1(p.text));
    }
}

QTEST_MAIN(TestOutputFiles)
#include "test_outputfiles.moc"
