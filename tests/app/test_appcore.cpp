#include "app/appstate.h"
#include "app/cp1250.h"
#include "app/messages.h"
#include "app/settings.h"
#include "support/testsupport.h"

#include <QtTest>

class TestAppCore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void catalogue();
    void settingsRecord();
    void passwords();
    void history();
};

void TestAppCore::catalogue()
{
    MessageRecorder rec;
    QCOMPARE(MessageCode(0).show(), -1);
    QCOMPARE(MessageCode(125).show(), 124);
    QVERIFY(rec.shown().isEmpty());

    MessageCode(124).show();
    QCOMPARE(rec.lastText(), QStringLiteral("Nezvolili jste kategorii knih, vyberte si nějakou!"));
    QCOMPARE(rec.numbers(), QList<int>{124});
    QCOMPARE(rec.shown().last().buttons, int(ButtonsOk));
    QVERIFY(rec.shown().last().caption.isEmpty());

    for (int n : {41, 45, 70})
        QCOMPARE(messageText(n), QStringLiteral("Kniha s požadovaným kódem nebyla nalezena!"));
    QCOMPARE(messageText(57), QStringLiteral("Kniha s požadovaným kódem nebyla nalezena"));
    QCOMPARE(messageText(40), messageText(121));
    QCOMPARE(messageText(95), messageText(114));
    for (int n : {65, 76}) // "za seznamu", as the catalogue has it
        QCOMPARE(messageText(n), QStringLiteral("Nevybrali jste žádnou knihu za seznamu!"));
    QCOMPARE(messageText(50), messageText(74));
    int informations = 0;
    for (int n = 1; n <= MessageCount; ++n) {
        QVERIFY2(!messageText(n).isEmpty(), qPrintable(QString::number(n)));
        if (messageKind(n) == MessageKind::Information)
            ++informations;
    }
    QCOMPARE(informations, 1);
    QCOMPARE(messageKind(1), MessageKind::Information);
    QCOMPARE(messageText(14),
             QStringLiteral("Nazadali jste kód klienta, jehož data chcete opravovat.\nZadejte nějaký nebo "
                            "klienta nalistujte"));
    QVERIFY(
        messageText(85).endsWith(QStringLiteral("(Oprava data pořízení se provádí na stránce \"Opravy\")")));
}

void TestAppCore::settingsRecord()
{
    SettingsRecord r;
    r.loanProtocol = SettingsRecord::PrintNever;
    r.returnProtocol = SettingsRecord::PrintAlways;
    r.passwordAtStart = 1;
    r.lockAllowed = 0;
    r.loanLength = SettingsRecord::NoLimit;
    r.loanDays = 30;
    r.reportSize = SettingsRecord::ReportMaximised;
    r.userName = QStringLiteral("Knihovna Žďár");
    encodePassword(r, QStringLiteral("abc"));
    const QByteArray b = r.toBytes();
    QCOMPARE(b.size(), 164);
    QCOMPARE(b.left(4), QByteArray::fromHex("ffff0000"));
    QCOMPARE(b.mid(4, 2), QByteArray::fromHex("0200"));
    QCOMPARE(b.mid(6, 2), QByteArray::fromHex("0000"));
    QCOMPARE(b.mid(8, 4), QByteArray::fromHex("01000000"));
    QCOMPARE(b.mid(16, 4), QByteArray::fromHex("01000000"));
    QCOMPARE(b.mid(20, 4), QByteArray::fromHex("1e000000"));
    QCOMPARE(b.mid(24, 2), QByteArray::fromHex("0100"));
    QCOMPARE(b.mid(26, 2), QByteArray::fromHex("0300"));
    // The name in Windows-1250: Ž is 0x8E, ď 0xEF, á 0xE1, zero-filled to 64 bytes.
    QCOMPARE(b.mid(92, 14), QByteArray("Knihovna \x8E\xEF\xE1r\0", 14));
    QCOMPARE(b.mid(156, 4), QByteArray(4, '\0'));
    QCOMPARE(b.mid(160, 4), QByteArray::fromHex("0ff00000"));

    const auto back = SettingsRecord::fromBytes(b);
    QVERIFY(back);
    QCOMPARE(back->toBytes(), b);
    QCOMPARE(back->userName, r.userName);
    QVERIFY(checkPassword(*back, QStringLiteral("abc")));

    QTemporaryDir dir;
    const QString path = dir.filePath(QString::fromLatin1(SettingsRecord::FileName));
    QVERIFY(r.write(path));
    QCOMPARE(SettingsRecord::read(path)->toBytes(), b);

    // What the record itself accepts is pinned by the fuzzing of its reader; here the file.
    QVERIFY(!SettingsRecord::read(dir.filePath(QStringLiteral("missing.ini"))));
    // A file is read for its first 164 bytes: what follows them does not matter, a short file or
    // bad marks make it no record (the first run then writes a new one).
    const QByteArray &record = b;
    QByteArray badTail = record;
    badTail[160] = 0;
    const struct
    {
        const char *name;
        QByteArray bytes;
        bool valid;
    } files[] = {
        {"exact", record, true},
        {"one byte more", record + '\0', true},
        {"a line appended", record + QByteArrayLiteral("[Folivo]\r\nverze=2\r\n"), true},
        {"two records", record + record, true},
        {"one byte short", record.left(163), false},
        {"empty", QByteArray(), false},
        {"bad head, longer", QByteArray(4, 'x') + record.mid(4) + "xyz", false},
        {"bad tail, longer", badTail + record, false},
        {"marks shifted by one", '\0' + record, false},
    };
    for (const auto &f : files) {
        const QString file = dir.filePath(QString::fromLatin1(f.name));
        QVERIFY(writeBytes(file, f.bytes));
        const std::optional<SettingsRecord> read = SettingsRecord::read(file);
        QVERIFY2(bool(read) == f.valid, f.name);
        if (read)
            QCOMPARE(read->userName, r.userName);
    }

    // A 64-character name fills the field without a terminator and reads back whole.
    r.userName = QString(64, QLatin1Char('x'));
    QCOMPARE(SettingsRecord::fromBytes(r.toBytes())->userName, r.userName);
}

void TestAppCore::passwords()
{
    SettingsRecord r;
    encodePassword(r, QStringLiteral("tajné"));
    QCOMPARE(r.passwordLength, 5);
    QVERIFY(checkPassword(r, QStringLiteral("tajné")));
    QVERIFY(!checkPassword(r, QStringLiteral("tajne")));
    QVERIFY(!checkPassword(r, QStringLiteral("tajné ")));
    // é lies above 127 in Windows-1250: its signed byte is negative, and so is its product.
    QVERIFY(r.password[4] < 0);

    // 16 characters: the last position holds the 14th character, the check wants the 16th.
    const QString differ = QStringLiteral("abcdefghijklmnop"); // 14th n, 16th p
    encodePassword(r, differ);
    QCOMPARE(r.passwordLength, 16);
    QVERIFY(!checkPassword(r, differ));
    const QString same = QStringLiteral("abcdefghijklmnon"); // 14th n, 16th n
    encodePassword(r, same);
    QVERIFY(checkPassword(r, same));

    // Too short or too long: the default word is stored instead.
    encodePassword(r, QStringLiteral("ab"));
    QCOMPARE(r.passwordLength, quint16(qstrlen(DefaultPassword)));
    QVERIFY(checkPassword(r, QString::fromLatin1(DefaultPassword)));
    QVERIFY(!checkPassword(r, QStringLiteral("ab")));
    encodePassword(r, QString());
    QVERIFY(checkPassword(r, QString::fromLatin1(DefaultPassword)));
    encodePassword(r, QString(17, QLatin1Char('a')));
    QVERIFY(checkPassword(r, QString::fromLatin1(DefaultPassword)));

    // Positions beyond the length keep what they held.
    encodePassword(r, QStringLiteral("abcdefghijklmnon"));
    const qint32 kept = r.password[10];
    encodePassword(r, QStringLiteral("xyz"));
    QCOMPARE(r.password[10], kept);
    QVERIFY(checkPassword(r, QStringLiteral("xyz")));
    r.passwordLength = 2;
    QVERIFY(!checkPassword(r, QStringLiteral("xy")));

    QCOMPARE(toCp1250(QStringLiteral("ČŘŽščřžýáíéůú")),
             QByteArray("\xC8\xD8\x8E\x9A\xE8\xF8\x9E\xFD\xE1\xED\xE9\xF9\xFA"));
    QCOMPARE(fromCp1250(QByteArray("\xC8\xD8\x8E")), QStringLiteral("ČŘŽ"));
    QCOMPARE(toCp1250(QStringLiteral("日")), QByteArray("?"));
}

void TestAppCore::history()
{
    InputHistory h;
    h.remember(QStringLiteral("Poezie"), 8);
    h.remember(QStringLiteral("ignored"), 20);
    h.remember(QStringLiteral("ignored"), 39);
    QCOMPARE(h.recall(8), QStringLiteral("Poezie"));
    QCOMPARE(h.recall(20), QString());
    QVERIFY(InputHistory::isSlot(1) && InputHistory::isSlot(18) && InputHistory::isSlot(27) &&
            InputHistory::isSlot(38));
    QVERIFY(!InputHistory::isSlot(19) && !InputHistory::isSlot(26) && !InputHistory::isSlot(0));
    h.remember(QStringLiteral("Nová"), 8);
    QCOMPARE(h.recall(8), QStringLiteral("Nová"));
}

QTEST_GUILESS_MAIN(TestAppCore)
#include "test_appcore.moc"
