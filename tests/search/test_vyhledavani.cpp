#include "app/commands.h"
#include "app/mainframe.h"
#include "app/rvedit.h"
#include "data/database.h"
#include "search/vyhledavani.h"
#include "support/guitestsupport.h"
#include "support/testsupport.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTableWidget>
#include <QtTest>

// The criteria are written as designated initializers; what they leave out keeps its default.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace {

// Stands in for the entry and report views: remembers what it was asked to show.
class RecordingView final : public CFrameView
{
public:
    RecordingView(int target, QWidget *parent) : CFrameView(parent), m_target(target) {}
    int viewTarget() const override { return m_target; }
    int helpTopic() const override { return 0; }
    bool enterView(const ViewSwitchRequest &request) override
    {
        requests << request;
        return true;
    }
    QList<ViewSwitchRequest> requests;

private:
    int m_target;
};

// A frame with the search view and recording entry and report views.
struct Frame
{
    Frame()
    {
        frame.setViewFactory(ViewSwitchRequest::EntryView,
                             [](QWidget *p) { return new RecordingView(ViewSwitchRequest::EntryView, p); });
        frame.setViewFactory(ViewSwitchRequest::ReportView,
                             [](QWidget *p) { return new RecordingView(ViewSwitchRequest::ReportView, p); });
        frame.setViewFactory(ViewSwitchRequest::SearchView, [](QWidget *p) { return new CVyhledavani(p); });
    }
    bool showSearch()
    {
        ViewSwitchRequest r;
        r.target = ViewSwitchRequest::SearchView;
        return frame.switchView(r);
    }
    CVyhledavani *search() const
    {
        return static_cast<CVyhledavani *>(frame.view(ViewSwitchRequest::SearchView));
    }
    RecordingView *report() const
    {
        return static_cast<RecordingView *>(frame.view(ViewSwitchRequest::ReportView));
    }
    CMainFrame frame;
};

QString labelOf(const QWidget *w)
{
    for (const QLabel *label : w->window()->findChildren<QLabel *>())
        if (label->buddy() == w)
            return label->text();
    return QString();
}

void type(CVyhledavani &v, SearchField f, const char *text)
{
    v.edit(f)->setText(QString::fromUtf8(text));
}

QStringList keywordsShown(const CVyhledavani &v)
{
    QStringList out;
    for (int r = 0; r < v.keywordList()->rowCount(); ++r)
        out << v.keywordList()->item(r, 0)->text();
    return out;
}

QString text(const char *s)
{
    return QString::fromUtf8(s);
}

// Every criterion given: each state box ticked, each field filled, no exact match, the first
// category and three keywords.
void fillForm(CVyhledavani &v)
{
    for (QCheckBox *box : {v.considerLoanBox(), v.lentBox(), v.considerDiscardBox(), v.discardedBox()})
        box->click();
    for (CRvEdit *e : v.findChildren<CRvEdit *>())
        e->setText(text("1.1.2020"));
    for (SearchField f : {SearchField::Code, SearchField::Title, SearchField::Author, SearchField::Publisher})
        v.exactBox(f)->setChecked(false);
    v.categoryCombo()->setCurrentIndex(0);
    for (const char *word : {"mloci", "válka", "satira"}) {
        type(v, SearchField::Keyword, word);
        v.addKeyword();
    }
}

} // namespace

class TestVyhledavani : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void formFields();
    void enablingAndClear();
    void keywordList();
    void searchGoesToReportView();
    void refusals();
    void commands();
    void fitsFrame();
};

void TestVyhledavani::formFields()
{
    TestLibrary lib;
    lib.addCategory(text("Beletrie"));
    lib.addCategory(text("Zrušená"), false);
    const qint32 naucna = lib.addCategory(text("Naučná"));

    // The categories in use by name, their identifiers behind them, none chosen.
    CVyhledavani v;
    QVERIFY(v.PrepareSearchForm());
    QCOMPARE(v.categoryCombo()->count(), 2);
    QCOMPARE(v.categoryCombo()->itemText(1), text("Naučná"));
    QCOMPARE(v.categoryCombo()->itemData(1).toInt(), naucna);
    QCOMPARE(v.categoryCombo()->currentIndex(), -1);
    QCOMPARE(labelOf(v.categoryCombo()), text("Kat&egorie"));

    struct Field
    {
        SearchField field;
        const char *label;
        int type;
        int maxChars;
    };
    const Field fields[] = {
        {SearchField::Code, "&Kód knihy", CRvEdit::Text, 32},
        {SearchField::AccessionFrom, "&Přírůst. čís. od", CRvEdit::WholeNumber, 8},
        {SearchField::AccessionTo, "do", CRvEdit::WholeNumber, 8},
        {SearchField::Title, "&Název", CRvEdit::Text, 128},
        {SearchField::Author, "&Autor", CRvEdit::Text, 128},
        {SearchField::Publisher, "&Vydavatel", CRvEdit::Text, 128},
        {SearchField::PriceFrom, "&Cena od", CRvEdit::DecimalNumber, 10},
        {SearchField::PriceTo, "do", CRvEdit::DecimalNumber, 10},
        {SearchField::AcquiredFrom, "&Pořízení od", CRvEdit::Date, 20},
        {SearchField::AcquiredTo, "do", CRvEdit::Date, 20},
        {SearchField::Keyword, "K&líč. slovo", CRvEdit::Text, 64},
        {SearchField::DiscardFrom, "od", CRvEdit::Date, 20},
        {SearchField::DiscardTo, "do", CRvEdit::Date, 20},
        {SearchField::ClientCode, "Kód klienta", CRvEdit::Text, 32},
    };
    for (const Field &f : fields) {
        CRvEdit *e = v.edit(f.field);
        QCOMPARE(labelOf(e), text(f.label));
        QCOMPARE(e->resType(), f.type);
        QCOMPARE(e->maxLength(), f.maxChars);
    }
    for (SearchField f :
         {SearchField::Code, SearchField::Title, SearchField::Author, SearchField::Publisher}) {
        QCOMPARE(v.exactBox(f)->text(), text("Přesná shoda"));
        QVERIFY(v.exactBox(f)->isChecked());
    }
    // Fields and boxes whose visible label is shared are told apart by their accessible names.
    QCOMPARE(v.edit(SearchField::AccessionTo)->accessibleName(), text("Přírůst. čís. do"));
    QCOMPARE(v.edit(SearchField::DiscardFrom)->accessibleName(), text("Vyřazeno od"));
    QCOMPARE(v.exactBox(SearchField::Author)->accessibleName(), text("Přesná shoda: Autor"));
    QCOMPARE(v.considerDiscardBox()->text(), text("Zohledňovat stav vyřazení"));
    QCOMPARE(v.discardedBox()->text(), text("Vyřazeno"));
    QCOMPARE(v.considerLoanBox()->text(), text("Zohledňovat stav vypůjčení"));
    QCOMPARE(v.lentBox()->text(), text("Vypůjčeno"));
    QCOMPARE(v.pickButton()->text(), text("Nalistovat"));
    QCOMPARE(v.searchButton()->text(), text("  Vyhledat"));
    QCOMPARE(v.cancelButton()->text(), text("  Storno"));
    QCOMPARE(v.keywordList()->horizontalHeaderItem(0)->text(), text("Klíčová slova"));

    // The Tab key walks the form as it reads: book fields, keywords, discard, loan, buttons.
    QList<QWidget *> chain;
    QWidget *w = v.edit(SearchField::Code);
    do {
        if ((w->focusPolicy() & Qt::TabFocus) && v.isAncestorOf(w) && !chain.contains(w))
            chain << w;
        w = w->nextInFocusChain();
    } while (w != v.edit(SearchField::Code));
    QList<QWidget *> expected;
    for (SearchField f :
         {SearchField::Code, SearchField::AccessionFrom, SearchField::AccessionTo, SearchField::Title,
          SearchField::Author, SearchField::Publisher, SearchField::PriceFrom, SearchField::PriceTo,
          SearchField::Category, SearchField::AcquiredFrom, SearchField::AcquiredTo, SearchField::Keyword}) {
        expected << v.field(f);
        if (v.exactBox(f))
            expected << v.exactBox(f);
    }
    expected << v.addKeywordButton() << v.removeKeywordButton() << v.keywordList() << v.considerDiscardBox()
             << v.discardedBox() << v.edit(SearchField::DiscardFrom) << v.edit(SearchField::DiscardTo)
             << v.considerLoanBox() << v.lentBox() << v.edit(SearchField::ClientCode) << v.pickButton()
             << v.searchButton() << v.cancelButton();
    QCOMPARE(chain, expected);
}

void TestVyhledavani::enablingAndClear()
{
    TestLibrary lib;
    lib.addCategory(text("Beletrie"));
    CVyhledavani v;
    QVERIFY(showActive(&v));
    QVERIFY(v.PrepareSearchForm());
    CRvEdit *client = v.edit(SearchField::ClientCode);
    CRvEdit *from = v.edit(SearchField::DiscardFrom);
    CRvEdit *to = v.edit(SearchField::DiscardTo);

    // Each state box enables its inner box, which enables its fields; unticking either box
    // empties and disables what depends on it.
    struct Group
    {
        QCheckBox *outer, *inner;
        QList<QWidget *> dependent; // the inner box first
        QList<CRvEdit *> fields;
    };
    const Group groups[] = {
        {v.considerLoanBox(), v.lentBox(), {v.lentBox(), client, v.pickButton()}, {client}},
        {v.considerDiscardBox(), v.discardedBox(), {v.discardedBox(), from, to}, {from, to}},
    };
    const QList<bool> none = {false, false, false}, innerOnly = {true, false, false},
                      all = {true, true, true};
    auto enabling = [](const Group &g) {
        QList<bool> out;
        for (const QWidget *w : g.dependent)
            out << w->isEnabled();
        return out;
    };
    auto fill = [](const Group &g) {
        for (CRvEdit *e : g.fields)
            e->setText(text("1.1.2020"));
    };
    auto emptied = [](const Group &g) {
        return std::all_of(g.fields.begin(), g.fields.end(), [](CRvEdit *e) { return e->text().isEmpty(); });
    };
    for (const Group &g : groups) {
        QCOMPARE(enabling(g), none);
        g.outer->click();
        QCOMPARE(enabling(g), innerOnly);
        g.inner->click();
        QCOMPARE(enabling(g), all);
        fill(g);
        g.inner->click();
        QCOMPARE(enabling(g), innerOnly);
        QVERIFY(emptied(g));
        g.inner->click();
        fill(g);
        g.outer->click();
        QCOMPARE(enabling(g), none);
        QVERIFY(!g.inner->isChecked());
        QVERIFY(emptied(g));
    }

    // Fill everything, then "  Storno".
    fillForm(v);
    v.edit(SearchField::Title)->setFocus();

    v.cancelButton()->click();
    for (CRvEdit *e : v.findChildren<CRvEdit *>())
        QVERIFY2(e->text().isEmpty(), qPrintable(labelOf(e)));
    for (SearchField f : {SearchField::Code, SearchField::Title, SearchField::Author, SearchField::Publisher})
        QVERIFY(v.exactBox(f)->isChecked());
    QCOMPARE(v.categoryCombo()->currentIndex(), -1);
    QCOMPARE(v.categoryCombo()->count(), 1); // "  Storno" keeps the categories
    QCOMPARE(v.keywordList()->rowCount(), 0);
    for (QCheckBox *box : {v.considerLoanBox(), v.lentBox(), v.considerDiscardBox(), v.discardedBox()})
        QVERIFY(!box->isChecked());
    for (const Group &g : groups)
        QCOMPARE(enabling(g), none);
    QCOMPARE(QApplication::focusWidget(), v.edit(SearchField::Code));
}

void TestVyhledavani::keywordList()
{
    TestLibrary lib;
    MessageRecorder messages;
    CVyhledavani v;
    QVERIFY(showActive(&v));
    CRvEdit *keyword = v.edit(SearchField::Keyword);

    // Added in sorted order; the field keeps the (trimmed) word.
    for (const char *word : {"voda", " Les ", "Čert", "ahoj"}) {
        keyword->setText(text(word));
        v.addKeywordButton()->click();
    }
    QCOMPARE(messages.numbers(), QList<int>());
    QCOMPARE(keyword->text(), text("ahoj"));
    QCOMPARE(keywordsShown(v), QStringList({text("ahoj"), text("Čert"), text("Les"), text("voda")}));

    // A refusal (the core chooses its message) puts the focus back on the keyword field and
    // leaves the list unchanged.
    keyword->setText(text("LES"));
    v.edit(SearchField::Code)->setFocus();
    v.addKeywordButton()->click();
    QCOMPARE(messages.numbers(), QList<int>({39}));
    QCOMPARE(QApplication::focusWidget(), keyword);
    QCOMPARE(v.keywordList()->rowCount(), 4);
    // Enter in the keyword field adds it too.
    keyword->setText(text("zima"));
    QTest::keyClick(keyword, Qt::Key_Return);
    QCOMPARE(v.keywordList()->rowCount(), 5);

    // Removing: nothing selected gives 30; several selected rows go at once.
    messages.clear();
    selectRows(v.keywordList(), {});
    v.removeKeywordButton()->click();
    QCOMPARE(messages.numbers(), QList<int>({30}));
    QCOMPARE(v.keywordList()->rowCount(), 5);
    messages.clear();
    selectRows(v.keywordList(), {1, 3});
    v.removeKeywordButton()->click();
    QCOMPARE(messages.numbers(), QList<int>());
    QCOMPARE(keywordsShown(v), QStringList({text("ahoj"), text("Les"), text("zima")}));
}

// What the statement finds is the core's; the page reads the form into the criteria.
void TestVyhledavani::searchGoesToReportView()
{
    TestLibrary lib;
    const qint32 beletrie = lib.addCategory(text("Beletrie"));
    auto sqlFor = [](SearchCriteria c) {
        SearchValues values;
        return ValidateCriteria(c, values).passed() ? BuildSearchSql(c, values) : QString();
    };
    MessageRecorder messages;
    Frame f;
    f.frame.show();
    QVERIFY(f.showSearch());
    CVyhledavani *v = f.search();
    type(*v, SearchField::Author, " dvořák ");
    v->exactBox(SearchField::Author)->setChecked(false);
    type(*v, SearchField::PriceFrom, "100");
    type(*v, SearchField::PriceTo, "200");
    v->categoryCombo()->setCurrentIndex(0);
    for (const char *word : {"b", "a"}) {
        type(*v, SearchField::Keyword, word);
        v->addKeyword();
    }
    v->searchButton()->click();
    QCOMPARE(messages.numbers(), QList<int>());
    QCOMPARE(f.frame.activeTarget(), int(ViewSwitchRequest::ReportView));
    QCOMPARE(f.report()->requests.size(), 1);
    const ViewSwitchRequest r = f.report()->requests.first();
    QCOMPARE(r.title, text("Výsledek pokročilého vyhledávání"));
    QCOMPARE(r.reportKind, 0);
    QCOMPARE(r.sql, sqlFor({.author = text("dvořák"),
                            .exactAuthor = false,
                            .priceFrom = text("100"),
                            .priceTo = text("200"),
                            .category = beletrie,
                            .keywords = words("a b")}));
    // The form is left empty as by "  Storno", its categories too, until it is shown again.
    QVERIFY(v->edit(SearchField::Author)->text().isEmpty());
    QCOMPARE(v->categoryCombo()->count(), 0);
    QVERIFY(f.showSearch());
    QCOMPARE(v->categoryCombo()->count(), 1);

    // Enter in a criterion field searches; the empty form asks for every book.
    QTest::keyClick(v->edit(SearchField::Code), Qt::Key_Return);
    QCOMPARE(f.report()->requests.size(), 2);
    QCOMPARE(f.report()->requests.last().sql, sqlFor({}));
}

void TestVyhledavani::refusals()
{
    TestLibrary lib;
    lib.addClient(text("K9"), text("Eva"), text("Skrytá"), false);
    MessageRecorder messages;
    Frame f;
    QVERIFY(showActive(&f.frame));
    QVERIFY(f.showSearch());
    CVyhledavani *v = f.search();

    // A hidden client: 15, focus on the client code, nothing sent, the texts left trimmed.
    type(*v, SearchField::Title, "  Babička ");
    v->considerLoanBox()->click();
    v->lentBox()->click();
    type(*v, SearchField::ClientCode, " K9 ");
    v->searchButton()->click();
    QCOMPARE(messages.numbers(), QList<int>({15}));
    QCOMPARE(QApplication::focusWidget(), v->edit(SearchField::ClientCode));
    QVERIFY(!f.report());
    QCOMPARE(v->edit(SearchField::Title)->text(), text("Babička"));
    QCOMPARE(v->edit(SearchField::ClientCode)->text(), text("K9"));
    QVERIFY(v->lentBox()->isChecked());

    // The categories cannot be read: 105, the search view goes away, the entry view is shown.
    messages.clear();
    Database::close();
    QVERIFY(!f.showSearch());
    QCOMPARE(messages.numbers(), QList<int>({105}));
    QVERIFY(!f.frame.view(ViewSwitchRequest::SearchView));
    QCOMPARE(f.frame.activeTarget(), int(ViewSwitchRequest::EntryView));
}

void TestVyhledavani::commands()
{
    TestLibrary lib;
    Frame f;
    // Installed for every view by their owner; the search form has nothing to print.
    f.frame.setHandler(Cmd::PrintReport, [] {});
    f.frame.setHandler(Cmd::PreviewReport, [] {});
    QVERIFY(showActive(&f.frame));
    QVERIFY(f.showSearch());
    auto enabled = [&f](int command) {
        f.frame.updateCommandStates();
        return f.frame.action(command)->isEnabled();
    };

    QVERIFY(!enabled(Cmd::PrintReport));
    QVERIFY(!enabled(Cmd::PreviewReport));

    // The edit commands are all offered while an edit field has the focus, and never elsewhere;
    // they act on that field.
    const int editCommands[] = {Cmd::EditCut,    Cmd::EditCopy,      Cmd::EditPaste,
                                Cmd::EditDelete, Cmd::EditSelectAll, Cmd::EditUndo};
    f.search()->keywordList()->setFocus();
    for (int c : editCommands)
        QVERIFY2(!enabled(c), qPrintable(QString::number(c)));
    CRvEdit *title = f.search()->edit(SearchField::Title);
    title->setFocus();
    for (int c : editCommands)
        QVERIFY2(enabled(c), qPrintable(QString::number(c)));
    title->insert(text("Babička"));
    f.frame.runCommand(Cmd::EditSelectAll);
    f.frame.runCommand(Cmd::EditCut);
    QVERIFY(title->text().isEmpty());
}

void TestVyhledavani::fitsFrame()
{
    TestLibrary lib;
    lib.addCategory(text("Beletrie"));
    Frame f;
    QVERIFY(exposed(f.frame));
    QVERIFY(f.showSearch());
    CVyhledavani *v = f.search();
    auto *scroll = v->findChild<QScrollArea *>();
    fillForm(*v); // every dependent field enabled

    // At the frame's first size and on a large screen every field is in sight without scrolling.
    for (const QSize size : {QSize(710, 590), QSize(1280, 1000)}) {
        f.frame.resize(size);
        QTRY_COMPARE(f.frame.size(), size);
        QApplication::processEvents();
        QCOMPARE(scroll->verticalScrollBar()->maximum(), 0);
        QCOMPARE(scroll->horizontalScrollBar()->maximum(), 0);
        const QRect inside = v->rect();
        for (QWidget *w : v->findChildren<QWidget *>()) {
            if (!w->isVisibleTo(v) || (!qobject_cast<QLineEdit *>(w) && !qobject_cast<QAbstractButton *>(w)))
                continue;
            const QRect r(w->mapTo(v, QPoint(0, 0)), w->size());
            QVERIFY2(inside.contains(r), qPrintable(w->objectName() + labelOf(w)));
            // Texts of buttons and boxes are not cut.
            if (auto *b = qobject_cast<QAbstractButton *>(w); b && !b->text().isEmpty())
                QVERIFY2(b->width() >= b->sizeHint().width(), qPrintable(b->text()));
        }
    }
}

QTEST_MAIN(TestVyhledavani)
#include "test_vyhledavani.moc"
