// What a Czech librarian expects of the windows: Qt's own texts in Czech, the labels as the
// program writes them, Enter and the focus where the pages put them, mnemonics without clashes,
// browsing by keys, and columns wide enough for their values.
#include "app/aboutdialog.h"
#include "app/appstate.h"
#include "app/commands.h"
#include "app/czechqt.h"
#include "app/identitydialog.h"
#include "app/mainframe.h"
#include "app/mnemonics.h"
#include "app/rvedit.h"
#include "app/settingsdialogs.h"
#include "backup/backupdialogs.h"
#include "catalogue/bookdialogs.h"
#include "catalogue/bookform.h"
#include "catalogue/pagenoveknihy.h"
#include "catalogue/pageopravy.h"
#include "catalogue/pageprohlizeni.h"
#include "catalogue/undodiscard.h"
#include "circulation/pagevypujcky.h"
#include "circulation/viewzadavani.h"
#include "data/database.h"
#include "data/statements.h"
#include "gui/features.h"
#include "registers/categorydialogs.h"
#include "registers/clientdialogs.h"
#include "reports/protocoldialogs.h"
#include "reports/reminderdialogs.h"
#include "reports/reportdialogs.h"
#include "reports/sestavaview.h"
#include "reports/statisticsview.h"
#include "search/vyhledavani.h"
#include "support/guitestsupport.h"
#include "support/testsupport.h"

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStyleOption>
#include <QTabBar>
#include <QTableView>
#include <QtTest>

namespace {

QStringList actionTexts(const QMenu *menu)
{
    QStringList texts;
    for (const QAction *a : menu->actions())
        if (!a->isSeparator())
            texts << a->text().section(QLatin1Char('\t'), 0, 0);
    return texts;
}

QStringList labelTexts(const QWidget *w)
{
    QStringList texts;
    for (const QLabel *l : w->findChildren<QLabel *>())
        if (!l->text().isEmpty())
            texts << l->text();
    return texts;
}

// Pairs of texts in one window that share a mnemonic: "window: text / text".
QStringList clashes(const QString &window, const QList<MnemonicOwner> &mnemonics)
{
    QStringList out;
    // Letters that the program's texts themselves give twice in one window.
    const QStringList shared = {QStringLiteral("&Přírůst. čís. od"), QStringLiteral("&Pořízení od"),
                                QStringLiteral("&Sestava..."), QStringLiteral("&Sestava do HTML...")};
    for (int i = 0; i < mnemonics.size(); ++i)
        for (int j = i + 1; j < mnemonics.size(); ++j)
            if (mnemonics.at(i).key == mnemonics.at(j).key &&
                !(shared.contains(mnemonics.at(i).text) && shared.contains(mnemonics.at(j).text)))
                out << QStringLiteral("%1: %2 / %3").arg(window, mnemonics.at(i).text, mnemonics.at(j).text);
    return out;
}

} // namespace

class TestCzechUi : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void qtSpeaksCzech();
    void labelsAsWritten();
    void enterInTypedFields();
    void focusAfterRegisterCommands();
    void checkBoxesFollowEveryChange();
    void browsingByKeys();
    void mnemonicsWithoutClashes();
    void viewLettersBeforeMenus();
    void columnsHoldTheirValues();
    void cleanup();

private:
    // The program's frame on lib's library, shown and active, with the entry view.
    CViewZadavani *startFrame(TestLibrary &lib);
    std::unique_ptr<CMainFrame> m_frame;
};

void TestCzechUi::cleanup()
{
    m_frame.reset();
}

CViewZadavani *TestCzechUi::startFrame(TestLibrary &lib)
{
    Q_UNUSED(lib);
    AppState::instance().settings = SettingsRecord{};
    m_frame = std::make_unique<CMainFrame>();
    installFeatures(*m_frame);
    if (!m_frame->switchView(ViewSwitchRequest{}))
        return nullptr;
    m_frame->show();
    QApplication::setActiveWindow(m_frame.get());
    if (!QTest::qWaitForWindowActive(m_frame.get()))
        return nullptr;
    return qobject_cast<CViewZadavani *>(m_frame->activeView());
}

void TestCzechUi::initTestCase()
{
    // The program's start-up does the same; the tests run under LANG=C, so nothing here comes
    // from the system's language.
    QVERIFY(installCzechQt(qApp));
}

// Qt's own widgets and dialogs: the context menu of every edit field, the file dialog of the
// backup and the HTML export, the standard buttons.
void TestCzechUi::qtSpeaksCzech()
{
    QLineEdit edit;
    std::unique_ptr<QMenu> menu(edit.createStandardContextMenu());
    QCOMPARE(actionTexts(menu.get()),
             (QStringList{QStringLiteral("&Zpět"), QStringLiteral("&Znovu"), QStringLiteral("&Vyjmout"),
                          QStringLiteral("&Kopírovat"), QStringLiteral("&Vložit"), QStringLiteral("Smazat"),
                          QStringLiteral("Vybrat vše")}));

    // One catalogue holds the texts of every Qt dialog: the file dialog of the backup and the
    // HTML export speaks Czech with the rest.
    QFileDialog files(nullptr, QStringLiteral("Zadejte jméno záložního souboru"), QDir::tempPath());
    files.setOption(QFileDialog::DontUseNativeDialog);
    files.setAcceptMode(QFileDialog::AcceptSave);
    QVERIFY(labelTexts(&files).contains(QStringLiteral("Název &souboru:")));
    QDialogButtonBox standard(QDialogButtonBox::Yes | QDialogButtonBox::No | QDialogButtonBox::Cancel);
    QCOMPARE(standard.button(QDialogButtonBox::Yes)->text(), QStringLiteral("&Ano"));
    QCOMPARE(standard.button(QDialogButtonBox::Cancel)->text(), QStringLiteral("Zrušit"));
    // Paper in millimetres, dates the Czech way.
    QCOMPARE(QLocale().measurementSystem(), QLocale::MetricSystem);
}

// The labels of the dialogs, as the program writes them: no colons, mnemonics only where the
// program's texts have them.
void TestCzechUi::labelsAsWritten()
{
    TestLibrary lib;
    const qint32 book = lib.addBook(QStringLiteral("K-1"));
    const QStringList client = {QStringLiteral("&Kód"),      QStringLiteral("&Jméno"),
                                QStringLiteral("&Příjmení"), QStringLiteral("&Doklad č."),
                                QStringLiteral("&Narození"), QStringLiteral("&Adresa"),
                                QStringLiteral("&Funkce")};
    const QStringList overdue = {QStringLiteral("Vypsat knihy vypůjčené s prodlením ke dni")};
    std::vector<std::pair<std::unique_ptr<QDialog>, QStringList>> dialogs;
    dialogs.emplace_back(new CDlgNovyKlient, client);
    dialogs.emplace_back(new CDlgOpravaKlienta,
                         client + QStringList{QStringLiteral("&Opravit údaje o klientovi s kódem")});
    dialogs.emplace_back(new CDlgDetailyKlienta(-1), client);
    dialogs.emplace_back(new CReportClientDialog(false), QStringList{QStringLiteral("Kód klienta")});
    dialogs.emplace_back(new CReportClientDialog(true), QStringList{QStringLiteral("Kód klienta")} + overdue);
    dialogs.emplace_back(new CReportDateDialog, overdue);
    dialogs.emplace_back(new CUndoDiscardDialog,
                         QStringList{QStringLiteral("Kód knihy"), QStringLiteral("Název"),
                                     QStringLiteral("Autor"), QStringLiteral("Pořízeno dne"),
                                     QStringLiteral("Vyřazeno dne"), QStringLiteral("Kategorie")});
    dialogs.emplace_back(new CBookDetailsDialog(book),
                         QStringList{QStringLiteral("&Přírůstkové  číslo"), QStringLiteral("&Vydal"),
                                     QStringLiteral("Dne"), QStringLiteral("Vrátit do"),
                                     QStringLiteral("Klient"), QStringLiteral("Dne"),
                                     QStringLiteral("Historie výpůjček knihy")});
    for (const auto &[d, expected] : dialogs) {
        QStringList shown = labelTexts(d.get());
        for (const QString &f : expected)
            QVERIFY2(shown.removeOne(f), qPrintable(d->windowTitle() + QLatin1Char(' ') + f));
        for (const QString &rest : std::as_const(shown))
            QVERIFY2(!rest.endsWith(QLatin1Char(':')), qPrintable(rest));
    }
    auto *fresh = static_cast<CDlgNovyKlient *>(dialogs.front().first.get());
    QCOMPARE(fresh->form()->extended()->text(), QStringLiteral("&Včetně doplňujících údajů"));
    auto *report = dialogs.at(3).first.get();
    QStringList buttons;
    for (const QPushButton *b : report->findChildren<QPushButton *>())
        buttons << b->text();
    QVERIFY2(buttons.contains(QStringLiteral("Nalistovat")), qPrintable(buttons.join(QLatin1Char('|'))));
}

// Enter in a typed field that its dialog does not handle itself acts as in every other field of
// the dialog: the dialog's default button.
void TestCzechUi::enterInTypedFields()
{
    TestLibrary lib;
    MessageRecorder messages;
    CDlgNovyKlient fresh;
    QVERIFY(showActive(&fresh));
    CClientForm *f = fresh.form();
    f->extended()->setChecked(true);
    f->birth()->setText(QStringLiteral("30.2.2001"));
    f->birth()->setFocus();
    QTest::keyClick(f->birth(), Qt::Key_Return);
    QCOMPARE(messages.numbers(), QList<int>{9}); // the same first check as Enter in the code field
    QCOMPARE(QApplication::focusWidget(), f->code());
    messages.clear();
    QTest::keyClick(f->code(), Qt::Key_Return);
    QCOMPARE(messages.numbers(), QList<int>{9});
    f->code()->setText(QStringLiteral("N1"));
    f->first()->setText(QStringLiteral("Eva"));
    f->surname()->setText(QStringLiteral("Malá"));
    messages.clear();
    f->birth()->setFocus();
    QTest::keyClick(f->birth(), Qt::Key_Enter);
    QCOMPARE(messages.numbers(), QList<int>{10});
    f->birth()->setText(QStringLiteral("3.2.2001"));
    messages.clear();
    QTest::keyClick(f->birth(), Qt::Key_Return);
    QVERIFY(messages.numbers().isEmpty());
    QCOMPARE(fresh.result(), int(QDialog::Accepted));
    QCOMPARE(fresh.data().birth, 20010203);
}

// Where the focus lands after a register command from the frame: a new client is served at once
// on the loans page (the loan date), a new category on the new-books page is followed by the
// publisher; elsewhere the focus returns where it was.
void TestCzechUi::focusAfterRegisterCommands()
{
    TestLibrary lib;
    MessageRecorder messages;
    lib.addCategory(QStringLiteral("Poezie"));
    CViewZadavani *view = startFrame(lib);
    QVERIFY(view);

    int clients = 0;
    auto newClient = [&](QWidget *from) {
        from->setFocus();
        QTRY_COMPARE(QApplication::focusWidget(), from);
        const QString code = QStringLiteral("N%1").arg(++clients);
        onNextModal<CDlgNovyKlient>([code](CDlgNovyKlient *d) {
            d->form()->code()->setText(code);
            d->form()->first()->setText(QStringLiteral("Eva"));
            d->form()->surname()->setText(QStringLiteral("Malá"));
            d->accept();
        });
        m_frame->runCommand(Cmd::NewClient);
        QApplication::setActiveWindow(m_frame.get()); // the frame is active again once the dialog is gone
    };
    QWidget *loans = view->page(CViewZadavani::Vypujcky);
    auto *button = loans->findChild<QPushButton *>(QStringLiteral("newClient"));
    QVERIFY(button);
    newClient(button);
    QTRY_COMPARE(QApplication::focusWidget(), loans->findChild<QWidget *>(QStringLiteral("loanDate")));
    QCOMPARE(loans->findChild<QLineEdit *>(QStringLiteral("clientCode"))->text(), QStringLiteral("N1"));
    view->setActivePage(CViewZadavani::Vraceni);
    QWidget *returnDate =
        view->page(CViewZadavani::Vraceni)->findChild<QWidget *>(QStringLiteral("returnDate"));
    newClient(returnDate);
    QTRY_COMPARE(QApplication::focusWidget(), returnDate);

    auto newCategory = [&](QWidget *from, const QString &name) {
        from->setFocus();
        QTRY_COMPARE(QApplication::focusWidget(), from);
        onNextModal<CDlgNovaKategorie>([name](CDlgNovaKategorie *d) {
            d->nameEdit()->setText(name);
            d->accept();
        });
        m_frame->runCommand(Cmd::NewCategory);
        QApplication::setActiveWindow(m_frame.get());
    };
    view->setActivePage(CViewZadavani::Noveknihy);
    auto *noveknihy = qobject_cast<CPageNoveknihy *>(view->activePage());
    newCategory(noveknihy->form()->title, QStringLiteral("Cestopisy"));
    QCOMPARE(noveknihy->form()->category->currentText(), QStringLiteral("Cestopisy"));
    QTRY_COMPARE(QApplication::focusWidget(), noveknihy->form()->publisher);

    QVERIFY(messages.numbers().isEmpty());
}

// A check box changes by the mouse, by the keyboard, by a screen reader's toggle and by the
// program itself; the fields that depend on it follow each of them.
void TestCzechUi::checkBoxesFollowEveryChange()
{
    TestLibrary lib;
    CViewZadavani *view = startFrame(lib);
    QVERIFY(view);
    QWidget *loans = view->page(CViewZadavani::Vypujcky);
    auto *limit = loans->findChild<QCheckBox *>(QStringLiteral("limit"));
    auto *due = loans->findChild<QLineEdit *>(QStringLiteral("due"));
    QVERIFY(limit && due);
    QVERIFY(limit->isChecked() && due->isEnabled());
    const QString dueDefault = due->text();
    QVERIFY(!dueDefault.isEmpty());
    auto toggleAsScreenReader = [](QWidget *w) {
        QAccessibleInterface *a = QAccessible::queryAccessibleInterface(w);
        QVERIFY(a && a->actionInterface());
        a->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    };
    toggleAsScreenReader(limit);
    QVERIFY(!limit->isChecked());
    QVERIFY(due->text().isEmpty() && !due->isEnabled());
    limit->setChecked(true);
    QCOMPARE(due->text(), dueDefault);
    QVERIFY(due->isEnabled());
    limit->setFocus();
    QTest::keyClick(limit, Qt::Key_Space);
    QVERIFY(!limit->isChecked() && !due->isEnabled());

    CDlgBasicSettings settings;
    QCheckBox *boxes[] = {settings.choices()->passwordAtStart(), settings.choices()->lockAllowed()};
    for (QCheckBox *box : boxes) {
        QVERIFY(!settings.passwordEdit()->isEnabled());
        toggleAsScreenReader(box);
        QVERIFY(settings.passwordEdit()->isEnabled() && settings.copyEdit()->isEnabled());
        box->setChecked(false);
        QVERIFY(!settings.passwordEdit()->isEnabled() && !settings.copyEdit()->isEnabled());
    }
}

// The browse page walks by keys wherever its focus is: in its read-only fields, in the keyword
// list and the annotation, on its button, and on the sheet's tab right after it was clicked.
void TestCzechUi::browsingByKeys()
{
    TestLibrary lib;
    MessageRecorder messages;
    for (int i = 1; i <= 100; ++i) {
        lib.addBook(TestLibrary::BookSpec(QStringLiteral("B-%1").arg(i, 3, 10, QLatin1Char('0')))
                        .withKeywords(QStringLiteral("~les~~hory~")));
    }
    CViewZadavani *view = startFrame(lib);
    QVERIFY(view);
    QTabBar *tabs = view->sheet()->tabBar();
    QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(CViewZadavani::Prohlizeni).center());
    QCOMPARE(view->activeIndex(), int(CViewZadavani::Prohlizeni));
    auto *page = qobject_cast<CPageProhlizeni *>(view->activePage());
    QCOMPARE(page->currentRow(), 99);

    struct Step
    {
        QKeyCombination key;
        int row;
    };
    const QList<Step> walk = {
        {Qt::CTRL | Qt::Key_Home, 0}, {Qt::Key_PageDown, 40},        {Qt::CTRL | Qt::Key_Down, 41},
        {Qt::CTRL | Qt::Key_Up, 40},  {Qt::Key_PageUp, 0},           {Qt::CTRL | Qt::Key_End, 99},
        {Qt::Key_PageUp, 59},         {Qt::CTRL | Qt::Key_Down, 60}, {Qt::CTRL | Qt::Key_End, 99}};
    auto walkFrom = [&](QWidget *focus, const char *where) {
        for (const Step &step : walk) {
            QWidget *target = QApplication::focusWidget() ? QApplication::focusWidget() : m_frame.get();
            if (focus)
                QCOMPARE(target, focus);
            QTest::keyClick(target, step.key.key(), step.key.keyboardModifiers());
            QVERIFY2(page->currentRow() == step.row,
                     qPrintable(QStringLiteral("%1: %2 at row %3")
                                    .arg(QString::fromLatin1(where), QKeySequence(step.key).toString())
                                    .arg(page->currentRow())));
        }
    };
    // Right after the click, wherever the click left the focus.
    walkFrom(nullptr, "tab");
    const QList<QPair<QWidget *, const char *>> places = {
        {page->form()->code, "code"},
        {page->clientField(), "client"},
        {page->form()->annotation, "annotation"},
        {page->form()->keywordView, "keywords"},
        {page->findChild<QPushButton *>(QStringLiteral("goTo")), "go to"},
        {tabs, "tab bar"}};
    for (const auto &[widget, where] : places) {
        widget->setFocus();
        QTRY_COMPARE(QApplication::focusWidget(), widget);
        walkFrom(widget, where);
    }
    QVERIFY(messages.numbers().isEmpty());

    // On another page the keys stay with the fields.
    view->setActivePage(CViewZadavani::Opravy);
    auto *opravy = qobject_cast<CPageOpravy *>(view->activePage());
    QPlainTextEdit *annotation = opravy->form()->annotation;
    annotation->setEnabled(true);
    annotation->setPlainText(QStringLiteral("první řádek\ndruhý řádek"));
    annotation->moveCursor(QTextCursor::End);
    annotation->setFocus();
    QTRY_COMPARE(QApplication::focusWidget(), annotation);
    QTest::keyClick(annotation, Qt::Key_Home, Qt::ControlModifier);
    QCOMPARE(annotation->textCursor().position(), 0);
}

// Every window's mnemonics: two controls of one window never share a letter unless the program's
// own texts give it to both; the menu titles share none among themselves. A page's control may
// share its letter with a menu title: the control wins while its view has the focus.
void TestCzechUi::mnemonicsWithoutClashes()
{
    TestLibrary lib;
    MessageRecorder messages;
    const qint32 client = lib.addClient(QStringLiteral("C-1"));
    const qint32 book = lib.addBook(QStringLiteral("K-1"));
    lib.lend({book}, client, 20260301, 20260401);
    CViewZadavani *view = startFrame(lib);
    QVERIFY(view);

    QStringList found;
    found << clashes(QStringLiteral("menu"), menuMnemonics(m_frame->menuBar()));
    // Each menu's own items.
    QList<QMenu *> menus;
    for (QAction *a : m_frame->menuBar()->actions())
        menus << a->menu();
    for (int i = 0; i < menus.size(); ++i) {
        QList<MnemonicOwner> items;
        for (QAction *a : menus.at(i)->actions()) {
            if (a->menu())
                menus << a->menu();
            if (const QKeySequence key = QKeySequence::mnemonic(a->text()); !key.isEmpty())
                items.append({nullptr, -1, a, key, a->text()});
        }
        found << clashes(menus.at(i)->title(), items);
    }
    for (int i = 0; i < view->sheet()->count(); ++i) {
        view->setActivePage(i);
        found << clashes(view->sheet()->tabText(i), mnemonicOwners(m_frame->activeView()));
    }
    for (int target : {int(ViewSwitchRequest::SearchView)}) {
        ViewSwitchRequest r;
        r.target = target;
        QVERIFY(m_frame->switchView(r));
        found << clashes(QStringLiteral("view %1").arg(target), mnemonicOwners(m_frame->activeView()));
    }

    const SettingsRecord settings;
    std::vector<std::unique_ptr<QDialog>> dialogs;
    dialogs.emplace_back(new CDlgInstall);
    dialogs.emplace_back(new CDlgBasicSettings);
    dialogs.emplace_back(new CDlgProgramSettings);
    dialogs.emplace_back(new CDlgIdentity(CDlgIdentity::AtStart, settings));
    dialogs.emplace_back(new CDlgIdentity(CDlgIdentity::Lock, settings));
    dialogs.emplace_back(new CDlgAbout);
    const size_t registersFrom = dialogs.size();
    dialogs.emplace_back(new CDlgNovaKategorie);
    dialogs.emplace_back(new CDlgPrejmenovaniKategorie);
    dialogs.emplace_back(new CDlgOdstraneniKategorie);
    dialogs.emplace_back(new CDlgPresunKategorie);
    dialogs.emplace_back(new CDlgSeznamKategorii);
    auto *fresh = new CDlgNovyKlient;
    fresh->form()->extended()->setChecked(true);
    dialogs.emplace_back(fresh);
    auto *edit = new CDlgOpravaKlienta;
    edit->lookupEdit()->setText(QStringLiteral("C-1"));
    edit->lookUp();
    edit->form()->extended()->setChecked(true);
    dialogs.emplace_back(edit);
    dialogs.emplace_back(new CDlgOdstraneniKlienta);
    dialogs.emplace_back(new CDlgDetailyKlienta(client));
    dialogs.emplace_back(new CDlgSeznamKlientu);
    dialogs.emplace_back(new CDlgVyberKlienta);
    const size_t registersTo = dialogs.size();
    dialogs.emplace_back(new CGoToBookDialog);
    dialogs.emplace_back(new CBookPickerDialog(
        QStringLiteral("Knihy"), QStringLiteral("SELECT * FROM KNIHY ORDER BY KNIHY.KOD DESC")));
    dialogs.emplace_back(new CBookDetailsDialog(book));
    dialogs.emplace_back(new CUndoDiscardDialog);
    dialogs.emplace_back(new CReportCategoryDialog);
    dialogs.emplace_back(new CReportDateDialog);
    dialogs.emplace_back(new CReportClientDialog(false));
    dialogs.emplace_back(new CReportClientDialog(true));
    dialogs.emplace_back(new CProtocolChooser(1));
    dialogs.emplace_back(new CProtocolChooser(2));
    dialogs.emplace_back(new CProtocolPeriodList(1));
    dialogs.emplace_back(new CStatisticsYearDialog);
    dialogs.emplace_back(new CRemindersDialog);
    dialogs.emplace_back(new CExportBackupDlg);
    dialogs.emplace_back(new CImportBackupDlg);
    // Each dialog also reads well: a label with a mnemonic leads to its field, without a colon.
    // The lists of the register dialogs are wide enough for their headers and show them all.
    for (size_t i = 0; i < dialogs.size(); ++i) {
        QDialog *d = dialogs.at(i).get();
        d->show();
        QApplication::processEvents();
        const QString title = d->windowTitle();
        found << clashes(title, mnemonicOwners(d));
        for (const QLabel *label : d->findChildren<QLabel *>()) {
            QVERIFY2(label->buddy() || !label->text().contains(QLatin1Char('&')), qPrintable(label->text()));
            QVERIFY2(!label->buddy() || !label->text().endsWith(QLatin1Char(':')), qPrintable(label->text()));
        }
        for (QTableView *list : d->findChildren<QTableView *>()) {
            if (i < registersFrom || i >= registersTo)
                continue;
            const QFontMetrics fm = list->horizontalHeader()->fontMetrics();
            for (int c = 0; c < list->model()->columnCount(); ++c) {
                const QString header = list->model()->headerData(c, Qt::Horizontal).toString();
                QVERIFY2(list->columnWidth(c) >= fm.horizontalAdvance(header) + 8,
                         qPrintable(title + header));
            }
            QVERIFY2(list->width() >= list->horizontalHeader()->length() - 1, qPrintable(title));
        }
        d->hide();
    }
    for (const QString &c : std::as_const(found))
        qWarning("%s", qPrintable(c));
    QCOMPARE(found, QStringList());
}

// "&Vrátit do" and "Na&vigace": the loans page's check box wins while the page has the focus; a
// letter no control of the page has still opens its menu.
void TestCzechUi::viewLettersBeforeMenus()
{
    TestLibrary lib;
    CViewZadavani *view = startFrame(lib);
    QVERIFY(view);
    view->setActivePage(CViewZadavani::Vypujcky);
    QWidget *loans = view->activePage();
    auto *limit = loans->findChild<QCheckBox *>(QStringLiteral("limit"));
    QWidget *bookCode = loans->findChild<QWidget *>(QStringLiteral("bookCode"));
    QVERIFY(limit && bookCode);
    bookCode->setFocus();
    QTRY_COMPARE(QApplication::focusWidget(), bookCode);
    const bool wasLimited = limit->isChecked();
    QTest::keyClick(bookCode, Qt::Key_V, Qt::AltModifier);
    QTRY_COMPARE(limit->isChecked(), !wasLimited);
    QCOMPARE(QApplication::focusWidget(), limit);
    QVERIFY(!QApplication::activePopupWidget());
    QTest::keyClick(limit, Qt::Key_N, Qt::AltModifier);
    QTRY_VERIFY(QApplication::activePopupWidget());
    auto *popup = qobject_cast<QMenu *>(QApplication::activePopupWidget());
    QVERIFY(popup);
    QCOMPARE(popup->title(), QStringLiteral("&Nápověda"));
    popup->close();
    QCOMPARE(limit->isChecked(), !wasLimited);

    // On the returns page "&Vrátit dne" has the letter until its field is disabled (the batch's
    // date is fixed); then the menu has it.
    view->setActivePage(CViewZadavani::Vraceni);
    QWidget *returnDate = view->activePage()->findChild<QWidget *>(QStringLiteral("returnDate"));
    QWidget *code = view->activePage()->findChild<QWidget *>(QStringLiteral("bookCode"));
    QVERIFY(returnDate && code);
    code->setFocus();
    QTRY_COMPARE(QApplication::focusWidget(), code);
    QTest::keyClick(code, Qt::Key_V, Qt::AltModifier);
    QTRY_COMPARE(QApplication::focusWidget(), returnDate);
    QVERIFY(!QApplication::activePopupWidget());
    code->setFocus();
    returnDate->setEnabled(false);
    QTRY_COMPARE(QApplication::focusWidget(), code);
    QTest::keyClick(code, Qt::Key_V, Qt::AltModifier);
    QTRY_VERIFY(QApplication::activePopupWidget());
    popup = qobject_cast<QMenu *>(QApplication::activePopupWidget());
    QVERIFY(popup);
    QCOMPARE(popup->title(), QStringLiteral("Na&vigace"));
    popup->close();
}

// The lists of the circulation pages make room for their longest normal values: a code of 20
// characters and a date in the program's form. Measured as the style lays a cell's text out.
void TestCzechUi::columnsHoldTheirValues()
{
    TestLibrary lib;
    MessageRecorder messages;
    const QString code = QStringLiteral("BEL-2005-00000067890"); // 20 characters, the most a code has
    CViewZadavani *view = startFrame(lib);
    QVERIFY(view);

    auto room = [](QTableView *list, int column, const QString &text) {
        QStyleOptionViewItem option;
        option.initFrom(list->viewport());
        option.rect = QRect(0, 0, list->columnWidth(column), list->verticalHeader()->defaultSectionSize());
        option.features = QStyleOptionViewItem::HasDisplay;
        option.text = text;
        option.displayAlignment = Qt::AlignLeft | Qt::AlignVCenter;
        const QRect textRect = list->style()->subElementRect(QStyle::SE_ItemViewItemText, &option, list);
        const int margin = list->style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, list) + 1;
        return textRect.width() - 2 * margin;
    };
    auto columnOf = [](QTableView *list, const QString &header) {
        for (int c = 0; c < list->model()->columnCount(); ++c)
            if (list->model()->headerData(c, Qt::Horizontal).toString() == header)
                return c;
        return -1;
    };
    struct Fit
    {
        int page;
        QString header;
        QStringList values;
    };
    const QList<Fit> fits = {{CViewZadavani::Vypujcky, QStringLiteral("Kód"), {code}},
                             {CViewZadavani::Vypujcky,
                              QStringLiteral("Vrátit do"),
                              {QStringLiteral(" 7. 3.2005"), QStringLiteral("28.12.2005")}},
                             {CViewZadavani::Vraceni, QStringLiteral("Kód"), {code}},
                             {CViewZadavani::Vyrazeni, QStringLiteral("Kód"), {code}}};
    for (const Fit &fit : fits) {
        view->setActivePage(fit.page);
        auto *list = view->activePage()->findChild<QTableView *>();
        QVERIFY(list);
        const int column = columnOf(list, fit.header);
        QVERIFY(column >= 0);
        for (const QString &value : fit.values)
            QVERIFY2(list->fontMetrics().horizontalAdvance(value) <= room(list, column, value),
                     qPrintable(fit.header + QLatin1Char(' ') + value));
        // The list still shows all its columns without scrolling.
        QVERIFY(list->horizontalHeader()->length() <= list->viewport()->width());
    }

    // The loan history of the book details: the client's code and the loan date.
    const qint32 client = lib.addClient(QStringLiteral("CTE-2005-00000012345"));
    const qint32 lent = lib.addBook(QStringLiteral("K-2"));
    lib.lend({lent}, client, 20051228);
    CBookDetailsDialog details(lent);
    auto *history = details.findChild<QTableView *>(QStringLiteral("history"));
    QVERIFY(history && history->model()->rowCount() == 1);
    for (int c : {0, 3}) {
        const QString text = history->model()->index(0, c).data().toString();
        QVERIFY2(history->fontMetrics().horizontalAdvance(text) <= room(history, c, text), qPrintable(text));
    }
    // The history and the book picker show all their columns side by side, and a header that a
    // click sorted by keeps its whole text beside the sort indicator.
    CBookPickerDialog picker(QStringLiteral("Vyberte"), QString::fromLatin1(Stmt::PickNotDiscarded));
    for (QTableView *list : {history, picker.view()}) {
        QVERIFY(showActive(list->window()));
        QHeaderView *header = list->horizontalHeader();
        for (int c = 0; c < header->count(); ++c) {
            QStyleOptionHeader option;
            option.initFrom(header);
            option.state |= QStyle::State_Horizontal;
            option.orientation = Qt::Horizontal;
            option.rect = QRect(0, 0, list->columnWidth(c), header->height());
            option.text = list->model()->headerData(c, Qt::Horizontal).toString();
            option.sortIndicator = QStyleOptionHeader::SortUp;
            const QRect label = header->style()->subElementRect(QStyle::SE_HeaderLabel, &option, header);
            QVERIFY2(header->fontMetrics().horizontalAdvance(option.text) <= label.width(),
                     qPrintable(option.text));
        }
        QVERIFY(header->length() <= list->viewport()->width());
    }
    QVERIFY(messages.numbers().isEmpty());
}

QTEST_MAIN(TestCzechUi)
#include "test_czechui.moc"
