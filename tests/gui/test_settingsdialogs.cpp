#include "app/appstate.h"
#include "app/identitydialog.h"
#include "app/rvedit.h"
#include "app/settingsdialogs.h"
#include "support/testsupport.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

// The settings dialogs and the identity check: the order of their checks, the messages and the
// record they leave in Folivo.ini.
namespace {

// The password controls of the program settings that are open, by name.
QStringList openFields(CDlgProgramSettings &d)
{
    QStringList out;
    const std::pair<QWidget *, const char *> fields[] = {{d.currentEdit(), "current"},
                                                         {d.newEdit(), "new"},
                                                         {d.copyEdit(), "copy"},
                                                         {d.changeButton(), "change"}};
    for (const auto &[w, name] : fields)
        if (w->isEnabled())
            out << QString::fromLatin1(name);
    return out;
}

} // namespace

class TestSettingsDialogs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void installName();
    void basicSettings();
    void identityCheck();
    void programSettingsWithoutPassword();
    void programSettingsSwitchingSecurity();
    void programSettingsChangeMode();
    void programSettingsOriginalAndLoanLength();
    void programSettingsSaveFailure();

private:
    // Stores a record with the given security as the program's settings and in the file.
    SettingsRecord storeSecured(bool atStart, bool lock, const QString &password);
    SettingsRecord fileRecord() const { return *SettingsRecord::read(AppState::instance().iniPath); }

    QTemporaryDir m_dir;
};

void TestSettingsDialogs::init()
{
    AppState::instance().iniPath = m_dir.filePath(QStringLiteral("Folivo.ini"));
    QFile::remove(AppState::instance().iniPath);
    AppState::instance().settings = SettingsRecord{};
}

SettingsRecord TestSettingsDialogs::storeSecured(bool atStart, bool lock, const QString &password)
{
    SettingsRecord r;
    r.userName = QStringLiteral("Obecní knihovna Lhota");
    r.passwordAtStart = atStart ? 1 : 0;
    r.lockAllowed = lock ? 1 : 0;
    r.loanProtocol = SettingsRecord::PrintAlways;
    r.loanDays = 21;
    encodePassword(r, password);
    AppState::instance().settings = r;
    r.write(AppState::instance().iniPath);
    return r;
}

void TestSettingsDialogs::installName()
{
    MessageRecorder rec;
    CDlgInstall dialog;
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Dokončení instalace"));
    dialog.show();
    QCOMPARE(dialog.checkOk(), 20);
    dialog.nameEdit()->setText(QStringLiteral("   "));
    dialog.accept();
    QCOMPARE(rec.numbers(), (QList<int>{20, 20}));
    QVERIFY(dialog.isVisible());
    QCOMPARE(rec.lastText(), QStringLiteral("Nezadali jste svoje jméno, doplňte jej!"));

    // 64 characters fit, a 65th does not.
    const QString full(64, QLatin1Char('x'));
    dialog.nameEdit()->clear();
    QTest::keyClicks(dialog.nameEdit(), full + QStringLiteral("y"));
    QCOMPARE(dialog.nameEdit()->text(), full);
    dialog.nameEdit()->setText(QStringLiteral("  Knihovna Lhota  "));
    QCOMPARE(dialog.checkOk(), 0);
    QCOMPARE(dialog.userName(), QStringLiteral("Knihovna Lhota"));
}

void TestSettingsDialogs::basicSettings()
{
    MessageRecorder rec;
    CDlgBasicSettings dialog;
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Základní nastavení programu"));
    SettingsChoices *c = dialog.choices();
    // No security option: nothing is asked.
    QCOMPARE(dialog.checkOk(), 0);

    c->daysEdit()->setText(QStringLiteral("tři"));
    QCOMPARE(dialog.checkOk(), 21);
    c->daysEdit()->setText(QStringLiteral("-1"));
    QCOMPARE(dialog.checkOk(), 21);
    c->daysEdit()->setText(QStringLiteral("0"));
    QCOMPARE(dialog.checkOk(), 0);
    // Without a limit the days field is not read.
    c->daysEdit()->setText(QStringLiteral("tři"));
    c->noLimitButton()->click();
    QCOMPARE(dialog.checkOk(), 0);
    c->limitButton()->click();
    c->daysEdit()->setText(QStringLiteral("14"));

    c->lockAllowed()->click();
    rec.clear();
    const auto attempt = [&](const QString &password, const QString &copy) {
        dialog.passwordEdit()->setText(password);
        dialog.copyEdit()->setText(copy);
        return dialog.checkOk();
    };
    QCOMPARE(attempt(QString(), QString()), 22);
    QCOMPARE(attempt(QStringLiteral("abc"), QString()), 23);
    QCOMPARE(attempt(QStringLiteral("ab"), QStringLiteral("ab")), 25);
    QCOMPARE(attempt(QStringLiteral("abcdefghijklmnopq"), QStringLiteral("abcdefghijklmnopq")), 25);
    QCOMPARE(attempt(QStringLiteral("abc"), QStringLiteral("ab")), 25);
    QCOMPARE(attempt(QStringLiteral("abc"), QStringLiteral("abd")), 24);
    QCOMPARE(attempt(QStringLiteral("abc"), QStringLiteral("ABC")), 24);
    QCOMPARE(rec.numbers(), (QList<int>{22, 23, 25, 25, 25, 24, 24}));
    QCOMPARE(attempt(QStringLiteral("abc"), QStringLiteral("abc")), 0);
    QCOMPARE(attempt(QStringLiteral("abcdefghijklmnop"), QStringLiteral("abcdefghijklmnop")), 0);
    QCOMPARE(rec.numbers().size(), 7);

    // The record: with no security option the default word is stored, whatever was typed.
    c->lockAllowed()->click();
    c->loanProtocol()->button(2)->click();
    c->returnProtocol()->button(0)->click();
    c->reportSize()->button(1)->click();
    c->noLimitButton()->click();
    QCOMPARE(dialog.checkOk(), 0);
    SettingsRecord r = dialog.record();
    QCOMPARE(r.loanProtocol, quint16(2));
    QCOMPARE(r.returnProtocol, quint16(0));
    QCOMPARE(r.reportSize, quint16(SettingsRecord::ReportMaximised));
    QCOMPARE(r.loanLength, quint16(SettingsRecord::NoLimit));
    QCOMPARE(r.loanDays, quint32(30));
    QCOMPARE(r.passwordAtStart, quint32(0));
    QVERIFY(checkPassword(r, QString::fromLatin1(DefaultPassword)));

    c->limitButton()->click();
    c->daysEdit()->setText(QStringLiteral("0"));
    c->passwordAtStart()->click();
    dialog.passwordEdit()->setText(QStringLiteral("Žluťák"));
    dialog.copyEdit()->setText(QStringLiteral("Žluťák"));
    QCOMPARE(dialog.checkOk(), 0);
    r = dialog.record();
    QCOMPARE(r.loanLength, quint16(SettingsRecord::Limit));
    QCOMPARE(r.loanDays, quint32(0));
    QCOMPARE(r.passwordAtStart, quint32(1));
    QVERIFY(checkPassword(r, QStringLiteral("Žluťák")));
}

void TestSettingsDialogs::identityCheck()
{
    MessageRecorder rec;
    const SettingsRecord stored = storeSecured(true, false, QStringLiteral("Heslo"));
    CDlgIdentity check(CDlgIdentity::AtStart, stored);
    QCOMPARE(check.windowTitle(), QStringLiteral("Kontrola identity"));
    check.passwordEdit()->setText(QStringLiteral("heslo"));
    QCOMPARE(check.checkOk(), 28);
    QCOMPARE(rec.lastText(), QStringLiteral("Heslo neodpovídá, zkuste to znovu!"));
    check.passwordEdit()->setText(QStringLiteral("Heslo"));
    QCOMPARE(check.checkOk(), 0);
    QCOMPARE(rec.numbers(), QList<int>{28});

    // The start-up form ends on "Storno" (and Escape), which ends the program.
    QCOMPARE(check.endButton()->text(), QStringLiteral("  Storno"));
    check.show();
    check.endButton()->click();
    QCOMPARE(check.result(), int(QDialog::Rejected));
    QVERIFY(!check.isVisible());
}

void TestSettingsDialogs::programSettingsWithoutPassword()
{
    MessageRecorder rec;
    const SettingsRecord stored = storeSecured(false, true, QStringLiteral("heslo"));
    CDlgProgramSettings dialog;
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Nastavení programu"));
    SettingsChoices *c = dialog.choices();
    QVERIFY(c->lockAllowed()->isChecked());
    QCOMPARE(c->daysEdit()->text(), QStringLiteral("21"));
    QVERIFY(c->loanProtocol()->button(0)->isChecked());
    // Outside the change mode, with the security untouched, no password field is open.
    QCOMPARE(openFields(dialog), QStringList{QStringLiteral("change")});
    // The password fields come right after their check boxes when tabbing.
    QCOMPARE(c->lockAllowed()->nextInFocusChain(), dialog.currentEdit());
    QCOMPARE(dialog.currentEdit()->nextInFocusChain(), dialog.changeButton());
    QCOMPARE(dialog.changeButton()->nextInFocusChain(), dialog.newEdit());
    QCOMPARE(dialog.newEdit()->nextInFocusChain(), dialog.copyEdit());

    QSignalSpy saved(&dialog, &CDlgProgramSettings::settingsSaved);
    c->loanProtocol()->button(2)->click();
    c->returnProtocol()->button(2)->click();
    c->reportSize()->button(1)->click();
    c->daysEdit()->setText(QStringLiteral("45"));
    QCOMPARE(dialog.applyOk(), 0);
    QVERIFY(rec.shown().isEmpty());
    QCOMPARE(saved.count(), 1);
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    const SettingsRecord r = fileRecord();
    QCOMPARE(r.loanProtocol, quint16(2));
    QCOMPARE(r.returnProtocol, quint16(2));
    QCOMPARE(r.reportSize, quint16(1));
    QCOMPARE(r.loanDays, quint32(45));
    QCOMPARE(r.password, stored.password);
    QCOMPARE(r.userName, stored.userName);
    QCOMPARE(AppState::instance().settings.toBytes(), r.toBytes());
}

void TestSettingsDialogs::programSettingsSwitchingSecurity()
{
    MessageRecorder rec;
    const SettingsRecord stored = storeSecured(true, true, QStringLiteral("heslo"));
    CDlgProgramSettings dialog;
    dialog.choices()->passwordAtStart()->click();
    // One box still ticked, or none: the change needs the current password.
    QCOMPARE(openFields(dialog), words("current change"));
    dialog.choices()->lockAllowed()->click();
    QCOMPARE(openFields(dialog), words("current"));

    QCOMPARE(dialog.applyOk(), 26);
    dialog.currentEdit()->setText(QStringLiteral("Heslo"));
    QCOMPARE(dialog.applyOk(), 26);
    QCOMPARE(fileRecord().toBytes(), stored.toBytes());
    // A blank typed after the password is trimmed before the check.
    dialog.currentEdit()->setText(QStringLiteral("heslo "));
    QCOMPARE(dialog.applyOk(), 0);
    const SettingsRecord r = fileRecord();
    QCOMPARE(r.passwordAtStart, quint32(0));
    QCOMPARE(r.lockAllowed, quint32(0));
    QCOMPARE(r.passwordLength, stored.passwordLength);
    QCOMPARE(r.password, stored.password);

    // On again: a new password, and the closed current field is not asked for, also in the
    // change mode.
    CDlgProgramSettings again;
    QCOMPARE(openFields(again), QStringList());
    again.choices()->lockAllowed()->click();
    QCOMPARE(openFields(again), words("new copy change"));
    again.changeButton()->click();
    QVERIFY(again.changeMode());
    QCOMPARE(again.applyOk(), 22);
    // The trailing blank of the copy goes before the comparison.
    again.newEdit()->setText(QStringLiteral("nové"));
    again.copyEdit()->setText(QStringLiteral("nové  "));
    QCOMPARE(again.applyOk(), 0);
    QCOMPARE(rec.numbers(), (QList<int>{26, 26, 22}));
    const SettingsRecord on = fileRecord();
    QCOMPARE(on.lockAllowed, quint32(1));
    QVERIFY(checkPassword(on, QStringLiteral("nové")));
    QVERIFY(!checkPassword(on, QStringLiteral("nové  ")));
}

void TestSettingsDialogs::programSettingsChangeMode()
{
    MessageRecorder rec;
    const SettingsRecord stored = storeSecured(true, false, QStringLiteral("heslo"));
    CDlgProgramSettings dialog;
    QCOMPARE(dialog.changeButton()->text(), QStringLiteral("Změnit"));
    dialog.changeButton()->click();
    QVERIFY(dialog.changeMode());
    QCOMPARE(dialog.changeButton()->text(), QStringLiteral("Zpět"));
    QCOMPARE(openFields(dialog), words("current new copy change"));

    dialog.newEdit()->setText(QStringLiteral("ab"));
    dialog.copyEdit()->setText(QStringLiteral("ab"));
    QCOMPARE(dialog.applyOk(), 26); // the current password comes first
    dialog.currentEdit()->setText(QStringLiteral("heslo"));
    QCOMPARE(dialog.applyOk(), 25);

    // "Zpět" leaves the mode and empties the new password, its copy and (security as it was)
    // the current one.
    dialog.changeButton()->click();
    QVERIFY(!dialog.changeMode());
    for (QLineEdit *e : {dialog.newEdit(), dialog.copyEdit(), dialog.currentEdit()})
        QVERIFY(e->text().isEmpty());
    QCOMPARE(openFields(dialog), words("change"));

    // Unticking both boxes leaves the mode too.
    dialog.changeButton()->click();
    dialog.newEdit()->setText(QStringLiteral("xyz"));
    dialog.choices()->passwordAtStart()->click();
    QVERIFY(!dialog.changeMode());
    QVERIFY(!dialog.changeButton()->isEnabled());
    QVERIFY(dialog.newEdit()->text().isEmpty());
    dialog.choices()->passwordAtStart()->click();

    dialog.changeButton()->click();
    dialog.currentEdit()->setText(QStringLiteral("heslo"));
    dialog.newEdit()->setText(QStringLiteral("abcdefghijklmnop"));
    dialog.copyEdit()->setText(QStringLiteral("abcdefghijklmnop"));
    QCOMPARE(dialog.applyOk(), 0);
    QCOMPARE(rec.numbers(), (QList<int>{26, 25}));
    const SettingsRecord r = fileRecord();
    QCOMPARE(r.passwordLength, quint16(16));
    QVERIFY(r.password != stored.password);
}

void TestSettingsDialogs::programSettingsOriginalAndLoanLength()
{
    storeSecured(false, true, QStringLiteral("heslo"));
    AppState::instance().settings.loanLength = SettingsRecord::NoLimit;
    CDlgProgramSettings dialog;
    dialog.show();
    SettingsChoices *c = dialog.choices();
    QVERIFY(c->noLimitButton()->isChecked());
    QVERIFY(!c->daysEdit()->isEnabled());
    QVERIFY(c->daysEdit()->text().isEmpty());
    c->limitButton()->click();
    QVERIFY(c->daysEdit()->isEnabled());
    QTRY_VERIFY(c->daysEdit()->hasFocus());

    c->loanProtocol()->button(2)->click();
    c->lockAllowed()->click();
    dialog.currentEdit()->setText(QStringLiteral("heslo"));
    dialog.changeButton()->setEnabled(true);
    dialog.originalButton()->click();
    QVERIFY(c->noLimitButton()->isChecked());
    QVERIFY(c->lockAllowed()->isChecked());
    QVERIFY(c->loanProtocol()->button(0)->isChecked());
    QVERIFY(dialog.currentEdit()->text().isEmpty());
    QVERIFY(!dialog.currentEdit()->isEnabled());
    QVERIFY(!dialog.changeMode());
    QVERIFY(dialog.isVisible());
}

void TestSettingsDialogs::programSettingsSaveFailure()
{
    MessageRecorder rec;
    const SettingsRecord stored = storeSecured(false, false, QString());
    // A directory where the file should be: the record cannot be written.
    AppState::instance().iniPath = m_dir.filePath(QStringLiteral("blocked"));
    QDir(m_dir.path()).mkpath(QStringLiteral("blocked"));
    CDlgProgramSettings dialog;
    QSignalSpy saved(&dialog, &CDlgProgramSettings::settingsSaved);
    dialog.choices()->loanProtocol()->button(2)->click();
    QCOMPARE(dialog.applyOk(), 27);
    QCOMPARE(rec.numbers(), QList<int>{27});
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
    QCOMPARE(saved.count(), 0);
    QCOMPARE(AppState::instance().settings.loanProtocol, stored.loanProtocol);
}

QTEST_MAIN(TestSettingsDialogs)
#include "test_settingsdialogs.moc"
