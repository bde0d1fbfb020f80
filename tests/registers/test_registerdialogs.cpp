#include "app/appstate.h"
#include "app/commands.h"
#include "app/mainframe.h"
#include "app/rvedit.h"
#include "circulation/entrypage.h"
#include "circulation/viewzadavani.h"
#include "data/database.h"
#include "registers/categorydialogs.h"
#include "registers/clientdialogs.h"
#include "registers/registercommands.h"
#include "registers/registerwidgets.h"
#include "support/guitestsupport.h"
#include "support/testsupport.h"

#include <QAbstractItemModelTester>
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QSqlQuery>
#include <QTableView>
#include <QtTest>

namespace {

// A page that records what the register commands tell it and answers as told.
class RecordingPage final : public CEntryPage
{
public:
    QString tabTitle() const override { return QStringLiteral("Zkouška"); }
    void clientCreated(qint32 id, const QString &code, const QString &name) override
    {
        calls << QStringLiteral("created %1 %2 %3").arg(id).arg(code, name);
    }
    void clientChanged(qint32 id, const QString &code, const QString &surname, const QString &first) override
    {
        calls << QStringLiteral("changed %1 %2 %3 %4").arg(id).arg(code, surname, first);
    }
    void clientRemoved(qint32 id) override { calls << QStringLiteral("removed %1").arg(id); }
    bool categoryAdded(const QString &name) override { return answered(QStringLiteral("added ") + name); }
    bool categoryRenamed(qint32 id, const QString &oldName, const QString &newName) override
    {
        return answered(QStringLiteral("renamed %1 %2 %3").arg(id).arg(oldName, newName));
    }
    bool categoryRemoved(const QString &name) override { return answered(QStringLiteral("gone ") + name); }
    // Records a call about a category and gives the answer set for it.
    bool answered(const QString &call)
    {
        calls << call;
        return answer;
    }
    QStringList calls;
    bool answer = true;
};

// Makes every change of a book fail in the database.
void breakWrites()
{
    runSql(QStringLiteral(
        "CREATE TRIGGER broken_moves BEFORE UPDATE ON KNIHY BEGIN SELECT RAISE(ABORT, 'x'); END"));
}

QStringList column(const CRegisterListModel *model, int col)
{
    QStringList out;
    for (int r = 0; r < model->rowCount(); ++r)
        out << model->index(r, col).data().toString();
    return out;
}

} // namespace

class TestRegisterDialogs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { AppState::instance().history.clear(); }
    void newCategory();
    void renameCategory();
    void removeCategory();
    void moveBooks();
    void newClientForm();
    void newClientCommand();
    void editClient();
    void removeClient();
    void clientLists();
    void commandsFollowTheEntryView();
};

void TestRegisterDialogs::newCategory()
{
    TestLibrary lib;
    MessageRecorder messages;
    lib.addCategory(QStringLiteral("Poezie"));
    lib.addCategory(QStringLiteral("Romány"), false);

    CDlgNovaKategorie dialog;
    QVERIFY(showActive(&dialog));
    // The checks are the core's; here: shown, the dialog open, the focus on the name.
    dialog.nameEdit()->setText(QStringLiteral("Romány"));
    dialog.findChild<QPushButton *>()->setFocus();
    dialog.accept();
    QCOMPARE(messages.numbers(), QList<int>{6});
    QVERIFY(dialog.isVisible());
    QCOMPARE(QApplication::focusWidget(), dialog.nameEdit());
    dialog.nameEdit()->setText(QStringLiteral("  Cestopisy "));
    dialog.accept();
    QCOMPARE(dialog.result(), int(QDialog::Accepted)); // no message kept it open

    // The entry view's part (the page is told the name the dialog trimmed): the lookup again, the write,
    // history slot 8, the page's combo.
    RecordingPage page;
    QVERIFY(RegisterCommands::saveNewCategory(&page, dialog.name()));
    QCOMPARE(AppState::instance().history.recall(8), QStringLiteral("Cestopisy"));
    QCOMPARE(page.calls, QStringList{QStringLiteral("added Cestopisy")});

    // The write stands even when the page cannot show the name.
    page.answer = false;
    QVERIFY(RegisterCommands::saveNewCategory(&page, QStringLiteral("Sci-fi")));
    QCOMPARE(messages.numbers(), (QList<int>{6, 7})); // nothing shown since the refusal above
    QCOMPARE(lib.rows("KATEGORIE", "NAZEV = 'Sci-fi'"), 1);
}

void TestRegisterDialogs::renameCategory()
{
    TestLibrary lib;
    MessageRecorder messages;
    const qint32 poezie = lib.addCategory(QStringLiteral("Poezie"));
    lib.addCategory(QStringLiteral("Drama"));
    lib.addCategory(QStringLiteral("Romány"), false);

    CDlgPrejmenovaniKategorie dialog;
    QVERIFY(showActive(&dialog));
    QCOMPARE(dialog.combo()->count(), 2); // removed categories are not offered
    QCOMPARE(dialog.combo()->itemText(0), QStringLiteral("Drama"));
    QCOMPARE(dialog.combo()->currentIndex(), -1);

    dialog.nameEdit()->setText(QStringLiteral("Verše"));
    dialog.nameEdit()->setFocus();
    dialog.accept();
    QCOMPARE(messages.numbers(), QList<int>{8});
    QCOMPARE(QApplication::focusWidget(), dialog.combo());

    dialog.combo()->setCurrentIndex(dialog.combo()->findText(QStringLiteral("Poezie")));
    dialog.nameEdit()->setText(QStringLiteral("Drama"));
    dialog.combo()->setFocus();
    messages.clear();
    dialog.accept();
    QCOMPARE(messages.numbers(), QList<int>{5});
    QCOMPARE(QApplication::focusWidget(), dialog.nameEdit());
    dialog.nameEdit()->setText(QStringLiteral(" Verše "));
    messages.clear();
    dialog.accept();
    QCOMPARE(dialog.result(), int(QDialog::Accepted));

    RecordingPage page;
    QVERIFY(RegisterCommands::saveRenamedCategory(&page, dialog.categoryId(), dialog.oldName(),
                                                  dialog.newName()));
    QCOMPARE(page.calls, QStringList{QStringLiteral("renamed %1 Poezie Verše").arg(poezie)});

    // The write stands even when the page cannot show the new name.
    page.answer = false;
    QVERIFY(RegisterCommands::saveRenamedCategory(&page, poezie, QStringLiteral("Verše"),
                                                  QStringLiteral("Lyrika")));
    QCOMPARE(messages.numbers(), QList<int>{7});
}

void TestRegisterDialogs::removeCategory()
{
    TestLibrary lib;
    MessageRecorder messages;
    const qint32 live = lib.addCategory(QStringLiteral("Naučná"));
    const qint32 old = lib.addCategory(QStringLiteral("Staré"));
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("N1")).in(live));
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("S1")).in(old).discard(20200101));

    CDlgOdstraneniKategorie dialog;
    QVERIFY(showActive(&dialog));
    dialog.accept();
    QCOMPARE(messages.numbers(), QList<int>{8});

    dialog.combo()->setCurrentIndex(dialog.combo()->findText(QStringLiteral("Naučná")));
    messages.clear();
    dialog.accept();
    QCOMPARE(messages.numbers(), QList<int>{90});
    QVERIFY(dialog.isVisible());

    // Only discarded books: the irreversible question decides.
    dialog.combo()->setCurrentIndex(dialog.combo()->findText(QStringLiteral("Staré")));
    messages.clear();
    messages.answerNext(ResultNo);
    dialog.accept();
    QCOMPARE(messages.shown().size(), 1);
    const MessageRecorder::Shown question = messages.shown().first();
    QCOMPARE(question.kind, MessageKind::Question);
    QCOMPARE(question.buttons, int(ButtonsYesNoIrreversible));
    QCOMPARE(question.text,
             QStringLiteral(
                 "Pozor, tato akce je nevratná, po jejím provedení bude zvolená kategorie\nvyřazena navždy "
                 "z databáze. Pouze o ní zůstanou informace pro archivní účely.\n Skutečně chcete tuto "
                 "kategorii vyřadit?"));
    QVERIFY(dialog.isVisible());
    messages.answerNext(ResultYes);
    dialog.accept();
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QCOMPARE(lib.count(
                 QStringLiteral("SELECT UKAZOVAT FROM KATEGORIE WHERE ID_KATEGORIE_KATEGORIE = %1").arg(old)),
             1);

    RecordingPage page;
    messages.clear();
    QVERIFY(RegisterCommands::saveRemovedCategory(&page, dialog.categoryId(), dialog.categoryName()));
    QCOMPARE(page.calls, QStringList{QStringLiteral("gone Staré")});
    page.answer = false;
    QVERIFY(RegisterCommands::saveRemovedCategory(&page, old, QStringLiteral("Staré")));
    QCOMPARE(messages.numbers(), QList<int>{4});

    CDlgOdstraneniKategorie again;
    QCOMPARE(again.combo()->count(), 1); // "Naučná", which holds a book
}

void TestRegisterDialogs::moveBooks()
{
    TestLibrary lib;
    MessageRecorder messages;
    const qint32 a = lib.addCategory(QStringLiteral("A"));
    const qint32 b = lib.addCategory(QStringLiteral("B"));
    for (const char *code : {"A3", "A1", "A2"}) {
        lib.addBook(TestLibrary::BookSpec(QString::fromLatin1(code)).in(a));
    }
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("B1")).in(b));
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("A0")).in(a).discard());
    auto codesIn = [&](qint32 category) {
        QSqlQuery q =
            runSql(QStringLiteral("SELECT KOD FROM KNIHY WHERE ID_KATEGORIE_KNIHY = ? AND NOT VYRAZENO "
                                  "ORDER BY KOD"),
                   {category});
        QStringList out;
        while (q.next())
            out << q.value(0).toString();
        return out;
    };

    {
        CDlgPresunKategorie dialog;
        QAbstractItemModelTester tester(dialog.model(0));
        QVERIFY(showActive(&dialog));
        QVERIFY(!dialog.arrowButton(0)->isEnabled() && !dialog.arrowButton(1)->isEnabled());
        QVERIFY(!dialog.applyButton()->isEnabled() && !dialog.okButton()->isEnabled());

        dialog.combo(0)->setCurrentIndex(dialog.combo(0)->findText(QStringLiteral("A")));
        QCOMPARE(column(dialog.model(0), 0), words("A1 A2 A3"));
        selectRows(dialog.list(0), {0});
        QVERIFY(dialog.arrowButton(0)->isEnabled());
        QVERIFY(!dialog.arrowButton(1)->isEnabled());

        // Both categories must be chosen and differ.
        QVERIFY(!dialog.moveSelected(0));
        QCOMPARE(messages.numbers(), QList<int>{92});
        dialog.combo(1)->setCurrentIndex(dialog.combo(1)->findText(QStringLiteral("A")));
        selectRows(dialog.list(0), {0});
        messages.clear();
        QVERIFY(!dialog.moveSelected(0));
        QCOMPARE(messages.numbers(), QList<int>{93});
        dialog.combo(0)->setCurrentIndex(-1);
        QVERIFY(!dialog.arrowButton(0)->isEnabled());
        selectRows(dialog.list(1), {0});
        messages.clear();
        QVERIFY(!dialog.moveSelected(1));
        QCOMPARE(messages.numbers(), QList<int>{91});

        dialog.combo(0)->setCurrentIndex(dialog.combo(0)->findText(QStringLiteral("A")));
        dialog.combo(1)->setCurrentIndex(dialog.combo(1)->findText(QStringLiteral("B")));
        dialog.selectAll(0);
        QCOMPARE(dialog.list(0)->selectionModel()->selectedRows().size(), 3);
        selectRows(dialog.list(0), {1});
        dialog.invertSelection(0);
        QVERIFY(dialog.moveSelected(0));
        QCOMPARE(column(dialog.model(0), 0), words("A2"));
        QCOMPARE(dialog.model(1)->rowCount(), 3);
        QVERIFY(!dialog.combo(0)->isEnabled() && !dialog.combo(1)->isEnabled());
        QVERIFY(dialog.applyButton()->isEnabled() && dialog.okButton()->isEnabled());

        // "Storno" drops the pending moves.
        dialog.reject();
    }
    QCOMPARE(codesIn(a), words("A1 A2 A3"));
    QCOMPARE(codesIn(b), words("B1"));

    {
        CDlgPresunKategorie dialog;
        QVERIFY(showActive(&dialog));
        QSignalSpy moved(&dialog, &CDlgPresunKategorie::categoriesMoved);
        // OK with nothing pending only beeps.
        dialog.accept();
        QVERIFY(dialog.isVisible());
        QCOMPARE(moved.count(), 0);

        dialog.combo(0)->setCurrentIndex(dialog.combo(0)->findText(QStringLiteral("A")));
        dialog.combo(1)->setCurrentIndex(dialog.combo(1)->findText(QStringLiteral("B")));
        selectRows(dialog.list(0), {0, 2}); // A1, A3
        QVERIFY(dialog.moveSelected(0));
        selectRows(dialog.list(1), {2}); // B1 (the moved books sit above it)
        QVERIFY(dialog.moveSelected(1));
        // A3 goes there and back: it stays where it is.
        selectRows(dialog.list(1), {1});
        QVERIFY(dialog.moveSelected(1));

        breakWrites();
        messages.clear();
        QVERIFY(!dialog.apply());
        QCOMPARE(messages.numbers(), QList<int>{4});
        QCOMPARE(codesIn(b), words("B1"));
        runSql(QStringLiteral("DROP TRIGGER broken_moves"));

        QVERIFY(dialog.apply());
        QCOMPARE(moved.count(), 1);
        QCOMPARE(codesIn(a), words("A2 A3 B1"));
        QCOMPARE(codesIn(b), words("A1"));
        QVERIFY(dialog.combo(0)->isEnabled() && !dialog.applyButton()->isEnabled());
        QVERIFY(!dialog.okButton()->isEnabled());

        // Moving back and pressing OK writes and closes.
        selectRows(dialog.list(1), {0});
        QVERIFY(dialog.moveSelected(1));
        dialog.accept();
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QCOMPARE(moved.count(), 2);
    }
    QCOMPARE(codesIn(a).size(), 4);
    QVERIFY(codesIn(b).isEmpty());
}

void TestRegisterDialogs::newClientForm()
{
    TestLibrary lib;
    MessageRecorder messages;
    lib.addClient(QStringLiteral("A1"));
    lib.addClient(QStringLiteral("OLD"), QStringLiteral("Karel"), QStringLiteral("Starý"), false);

    CDlgNovyKlient dialog;
    CClientForm *f = dialog.form();
    QVERIFY(showActive(&dialog));
    // The supplementary fields follow the check box, and clearing it empties them.
    QVERIFY(!f->document()->isEnabled() && !f->birth()->isEnabled() && !f->address()->isEnabled());
    f->extended()->setChecked(true);
    QVERIFY(f->document()->isEnabled() && f->birth()->isEnabled() && f->address()->isEnabled() &&
            f->function()->isEnabled());
    f->document()->setText(QStringLiteral("OP 5"));
    f->address()->setPlainText(QStringLiteral("Praha"));
    f->birth()->setText(QStringLiteral("1.1.2000"));
    f->function()->setText(QStringLiteral("žák"));
    f->extended()->setChecked(false);
    QVERIFY(f->document()->text().isEmpty() && f->address()->toPlainText().isEmpty());
    QVERIFY(f->birth()->text().isEmpty() && f->function()->text().isEmpty());

    // The checks are the core's; here: shown, the dialog open, the focus on the field refused.
    f->code()->setText(QStringLiteral(" N1 "));
    f->first()->setText(QStringLiteral("Eva"));
    f->surname()->setText(QStringLiteral("Malá"));
    f->extended()->setChecked(true);
    f->birth()->setText(QStringLiteral("30.2.2001"));
    dialog.accept();
    QCOMPARE(messages.numbers(), QList<int>{10});
    QCOMPARE(QApplication::focusWidget(), f->birth());
    QVERIFY(dialog.isVisible());
    f->birth()->setText(QStringLiteral("3.2.2001"));
    f->address()->setPlainText(QStringLiteral("Dlouhá 1\nPraha"));
    dialog.accept();
    QCOMPARE(dialog.result(), int(QDialog::Accepted)); // no message kept it open
    const Registers::ClientData d = dialog.data();

    RecordingPage page;
    QVERIFY(RegisterCommands::saveNewClient(&page, d));
    const qint64 id = lib.count(QStringLiteral("SELECT ID_LIDE_LIDE FROM LIDE WHERE KOD = 'N1'"));
    QCOMPARE(page.calls, QStringList{QStringLiteral("created %1 N1 Malá Eva").arg(id)});
    // The entry view repeats the code test.
    messages.clear();
    QVERIFY(!RegisterCommands::saveNewClient(&page, d));
    QCOMPARE(messages.numbers(), QList<int>{11});
}

void TestRegisterDialogs::newClientCommand()
{
    TestLibrary lib;
    MessageRecorder messages;
    // Cancelled: nothing written, the texts are remembered all the same.
    onNextModal<CDlgNovyKlient>([](CDlgNovyKlient *dialog) {
        dialog->form()->code()->setText(QStringLiteral("Z1"));
        dialog->form()->first()->setText(QStringLiteral("Zdeněk"));
        dialog->reject();
    });
    RegisterCommands::newClient(nullptr);
    QCOMPARE(lib.rows("LIDE"), 0);
    QCOMPARE(AppState::instance().history.recall(1), QStringLiteral("Z1"));
    QCOMPARE(AppState::instance().history.recall(2), QStringLiteral("Zdeněk"));

    onNextModal<CDlgNovyKlient>([](CDlgNovyKlient *dialog) {
        CClientForm *f = dialog->form();
        f->code()->setText(QStringLiteral("Z2"));
        f->first()->setText(QStringLiteral("Zita"));
        f->surname()->setText(QStringLiteral("Zelená"));
        f->extended()->setChecked(true);
        f->document()->setText(QStringLiteral("OP 9"));
        f->address()->setPlainText(QStringLiteral("Most"));
        f->function()->setText(QStringLiteral("ředitelka"));
        f->birth()->setText(QStringLiteral("5.11.1970"));
        dialog->accept();
    });
    RegisterCommands::newClient(nullptr);
    QVERIFY(messages.numbers().isEmpty());
    QCOMPARE(lib.rows("LIDE", "KOD = 'Z2' AND IS_DOKLAD AND IS_FUNKCE AND IS_ADRESA"), 1);
    const InputHistory &h = AppState::instance().history;
    const QStringList remembered = {h.recall(1), h.recall(2), h.recall(3), h.recall(4),
                                    h.recall(5), h.recall(6), h.recall(7)};
    QCOMPARE(remembered, (QStringList{QStringLiteral("Z2"), QStringLiteral("Zita"), QStringLiteral("Zelená"),
                                      QStringLiteral("OP 9"), QStringLiteral("Most"),
                                      QStringLiteral("ředitelka"), QStringLiteral("5.11.1970")}));
}

void TestRegisterDialogs::editClient()
{
    TestLibrary lib;
    MessageRecorder messages;
    lib.addClient(QStringLiteral("OLD"), QStringLiteral("Karel"), QStringLiteral("Starý"), false);
    Registers::ClientEntry e;
    e.code = QStringLiteral("K1");
    e.first = QStringLiteral("Eva");
    e.surname = QStringLiteral("Malá");
    e.extended = true;
    e.address = QStringLiteral("Dlouhá 1\nPraha");
    e.document = QStringLiteral("OP 1");
    e.birth = QStringLiteral("7.3.1990");
    const qint32 id = Registers::addClient(Registers::clientDataFromEntry(e));

    CDlgOpravaKlienta dialog;
    CClientForm *f = dialog.form();
    QVERIFY(showActive(&dialog));
    QVERIFY(!dialog.lookUp());
    QCOMPARE(messages.numbers(), QList<int>{14});
    QCOMPARE(QApplication::focusWidget(), dialog.lookupEdit());

    dialog.lookupEdit()->setText(QStringLiteral("K1"));
    QVERIFY(dialog.lookUp());
    QVERIFY(f->extended()->isChecked() && f->address()->isEnabled());
    QCOMPARE(f->address()->toPlainText(), QStringLiteral("Dlouhá 1\nPraha"));
    QCOMPARE(f->birth()->text(), QStringLiteral(" 7. 3.1990"));
    QVERIFY(dialog.correctButton()->isEnabled() && dialog.originalButton()->isEnabled());

    // Unknown and removed codes empty and disable the fields.
    messages.clear();
    dialog.lookupEdit()->setText(QStringLiteral("K2"));
    QVERIFY(!dialog.lookUp());
    QVERIFY(f->code()->text().isEmpty() && !f->code()->isEnabled() && !dialog.correctButton()->isEnabled());
    dialog.lookupEdit()->setText(QStringLiteral("OLD"));
    QVERIFY(!dialog.lookUp());
    QCOMPARE(messages.numbers(), (QList<int>{15, 16}));
    QVERIFY(f->first()->text().isEmpty() && !f->first()->isEnabled());

    dialog.lookupEdit()->setText(QStringLiteral("K1"));
    QVERIFY(dialog.lookUp());
    f->code()->setText(QStringLiteral("OLD"));
    f->first()->setText(QStringLiteral("Ivana"));
    messages.clear();
    dialog.accept();
    QCOMPARE(messages.numbers(), QList<int>{12});
    QCOMPARE(QApplication::focusWidget(), f->code());
    dialog.originalButton()->click();
    QCOMPARE(f->code()->text(), QStringLiteral("K1"));
    QCOMPARE(f->first()->text(), QStringLiteral("Eva"));

    // Clearing the address: the details show none.
    f->address()->clear();
    dialog.accept();
    QCOMPARE(dialog.result(), int(QDialog::Accepted)); // no message kept it open
    RecordingPage page;
    QVERIFY(RegisterCommands::saveChangedClient(&page, dialog.clientId(), dialog.data()));
    QCOMPARE(page.calls, QStringList{QStringLiteral("changed %1 K1 Malá Eva").arg(id)});
    CDlgDetailyKlienta details(id);
    QVERIFY(details.text(QStringLiteral("&Adresa")).isEmpty());

    // Opened again and saved without a change: nothing is written, the page is not told.
    CDlgOpravaKlienta second;
    second.lookupEdit()->setText(QStringLiteral("K1"));
    QVERIFY(second.lookUp());
    QVERIFY(second.check());
    page.calls.clear();
    messages.clear();
    QVERIFY(RegisterCommands::saveChangedClient(&page, id, second.data()));
    QVERIFY(messages.numbers().isEmpty());
    QVERIFY(page.calls.isEmpty());
}

void TestRegisterDialogs::removeClient()
{
    TestLibrary lib;
    MessageRecorder messages;
    const qint32 holder = lib.addClient(QStringLiteral("H1"));
    const qint32 book = lib.addBook(QStringLiteral("K1"));
    lib.lend({book}, holder, 20260301);

    CDlgOdstraneniKlienta dialog;
    QVERIFY(showActive(&dialog));
    dialog.accept();
    QCOMPARE(messages.numbers(), QList<int>{88});
    dialog.codeEdit()->setText(QStringLiteral("X9"));
    dialog.accept();
    dialog.codeEdit()->setText(QStringLiteral("H1"));
    dialog.accept();
    QCOMPARE(messages.numbers(), (QList<int>{88, 15, 89}));
    QVERIFY(dialog.isVisible());

    lib.giveBack({book}, 20260310);
    dialog.accept();
    QCOMPARE(dialog.result(), int(QDialog::Accepted)); // no message kept it open

    RecordingPage page;
    QVERIFY(RegisterCommands::saveRemovedClient(&page, dialog.clientId()));
    QCOMPARE(page.calls, QStringList{QStringLiteral("removed %1").arg(holder)});
    // The history stays; a removed client is found again and may be removed again.
    QCOMPARE(lib.rows("VRACENI", "ID_LIDE_VRACENI = ?", {holder}), 1);
    CDlgOdstraneniKlienta again;
    again.codeEdit()->setText(QStringLiteral("H1"));
    QVERIFY(again.check());
}

void TestRegisterDialogs::clientLists()
{
    TestLibrary lib;
    MessageRecorder messages;
    lib.addClient(QStringLiteral("Z1"), QStringLiteral("Jan"), QStringLiteral("Zeman"));
    const qint32 gone = lib.addClient(QStringLiteral("G1"), QStringLiteral("Ota"), QStringLiteral("Bartoš"));
    lib.addClient(QStringLiteral("A1"), QStringLiteral("Eva"), QStringLiteral("Adamová"));
    lib.addClient(QStringLiteral("C1"), QStringLiteral("Jiří"), QStringLiteral("Čech"));
    Registers::hideClient(gone);

    CDlgSeznamKlientu list;
    QAbstractItemModelTester tester(list.model());

    // Enter on a row opens that client's details and leaves the list open.
    QVERIFY(showActive(&list));
    const int adamRow = int(column(list.model(), 0).indexOf(QStringLiteral("A1")));
    list.list()->setCurrentIndex(list.model()->index(adamRow, 0));
    list.list()->setFocus();
    QString shownCode;
    onNextModal<CDlgDetailyKlienta>([&shownCode](CDlgDetailyKlienta *details) {
        shownCode = details->text(QStringLiteral("&Kód"));
        details->accept();
    });
    QTest::keyClick(list.list(), Qt::Key_Return);
    QCOMPARE(shownCode, QStringLiteral("A1"));
    QVERIFY(list.isVisible());

    onNextModal([](QDialog *d) { d->reject(); });
    QCOMPARE(pickClient(nullptr), std::nullopt);

    // Details of a removed client still show it; -1 closes at once.
    CDlgDetailyKlienta removed(gone);
    QCOMPARE(removed.text(QStringLiteral("&Příjmení")), QStringLiteral("Bartoš"));
    CDlgDetailyKlienta none(-1);
    QCOMPARE(none.exec(), int(QDialog::Rejected));
    QVERIFY(messages.numbers().isEmpty());
}

void TestRegisterDialogs::commandsFollowTheEntryView()
{
    TestLibrary lib;
    lib.addCategory(QStringLiteral("Poezie"));
    lib.addCategory(QStringLiteral("Staré"), false);
    CMainFrame frame;
    frame.setViewFactory(ViewSwitchRequest::EntryView, [](QWidget *p) { return new CViewZadavani(p); });
    installRegisterCommands(frame);
    const QList<int> commands = {
        Cmd::NewCategory,  Cmd::RenameCategory, Cmd::RemoveCategory, Cmd::MoveBetweenCategories,
        Cmd::CategoryList, Cmd::NewClient,      Cmd::EditClient,     Cmd::RemoveClient,
        Cmd::ClientList};
    for (int c : commands)
        QVERIFY(frame.hasHandler(c));
    frame.updateCommandStates();
    QVERIFY(!frame.action(Cmd::NewClient)->isEnabled()); // no view yet
    QVERIFY(frame.switchView(ViewSwitchRequest{}));
    frame.updateCommandStates();
    for (int c : commands)
        QVERIFY(frame.action(c)->isEnabled());

    // The list of categories shows those in use.
    QString title;
    QStringList names;
    onNextModal([&](QDialog *d) {
        title = d->windowTitle();
        if (auto *list = qobject_cast<CDlgSeznamKategorii *>(d)) {
            QAbstractItemModelTester tester(list->model());
            names = column(list->model(), 0);
            names.prepend(list->model()->headerData(0, Qt::Horizontal).toString());
        }
        d->accept();
    });
    frame.runCommand(Cmd::CategoryList);
    QCOMPARE(title, QStringLiteral("Seznam kategorií"));
    QCOMPARE(names, (QStringList{QStringLiteral("Název kategorie"), QStringLiteral("Poezie")}));
}

QTEST_MAIN(TestRegisterDialogs)
#include "test_registerdialogs.moc"
