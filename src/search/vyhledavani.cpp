#include "search/vyhledavani.h"

#include "app/editcommands.h"

#include "data/categories.h"
#include "data/dberror.h"

#include "app/commands.h"
#include "app/mainframe.h"
#include "app/messages.h"
#include "app/rvedit.h"
#include "registers/clientdialogs.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QStyle>
#include <QTableWidget>
#include <QTimer>
#include <QVBoxLayout>

namespace {

constexpr int MsgCategoriesFailed = 105;
constexpr int MsgNoKeywordSelected = 30;

const char *const ResultTitle = "Výsledek pokročilého vyhledávání";

// The statement of the search goes to the report view as a report of its own kind.
constexpr int SearchReportKind = 0;

// The widest the form grows on a large screen: past this the fields only get harder to read.
constexpr int FormMaxWidth = 900;

QLabel *buddyLabel(const char *text, QWidget *buddy)
{
    auto *label = new QLabel(QString::fromUtf8(text));
    label->setBuddy(buddy);
    return label;
}

// The "do" half of a range is labelled by a bare "do"; its accessible name says of what.
void nameRange(QWidget *from, QWidget *to, const char *fromLabel)
{
    QString name = QString::fromUtf8(fromLabel).remove(QLatin1Char('&'));
    from->setAccessibleName(name);
    name.chop(2);
    to->setAccessibleName(name + QStringLiteral("do"));
}

// A whole row of the view's frame around a group of fields, without a caption.
QGroupBox *plainGroup()
{
    auto *box = new QGroupBox;
    box->setFlat(false);
    return box;
}

} // namespace

CVyhledavani::CVyhledavani(QWidget *parent) : CFrameView(parent)
{
    // The form sits on the button face, as a dialog does.
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Button);
    m_scroll = new QScrollArea(this);
    m_scroll->setFrameShape(QFrame::NoFrame);
    // The Tab key goes from field to field; the area follows the focus by itself.
    m_scroll->setFocusPolicy(Qt::NoFocus);
    m_scroll->setWidgetResizable(true);
    m_scroll->setBackgroundRole(QPalette::Button);
    QWidget *canvas = buildForm();
    canvas->setBackgroundRole(QPalette::Button);
    m_scroll->setWidget(canvas);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_scroll);
    setFocusProxy(edit(SearchField::Code));
    clearForm(true);
}

CRvEdit *CVyhledavani::makeEdit(SearchField f, int type, int maxChars)
{
    auto *e = new CRvEdit;
    e->SetResType(type);
    e->setMaxLength(maxChars);
    m_fields.insert(f, e);
    if (f == SearchField::Keyword)
        connect(e, &CRvEdit::enterPressed, this, &CVyhledavani::addKeyword);
    else
        connect(e, &CRvEdit::enterPressed, this, &CVyhledavani::search);
    return e;
}

QCheckBox *CVyhledavani::makeExactBox(SearchField f, const char *fieldLabel)
{
    auto *box = new QCheckBox(QStringLiteral("Přesná shoda"));
    // Four boxes share one text; a screen reader also names the field each belongs to.
    box->setAccessibleName(QStringLiteral("Přesná shoda: ") +
                           QString::fromUtf8(fieldLabel).remove(QLatin1Char('&')));
    m_exact.insert(f, box);
    return box;
}

CRvEdit *CVyhledavani::edit(SearchField f) const
{
    return qobject_cast<CRvEdit *>(field(f));
}

// The widgets are made in the order of the form, which is also the order the Tab key follows.
QWidget *CVyhledavani::buildForm()
{
    // Book fields: a label, the field (or "from" and "to"), and the exact-match box.
    QGroupBox *book = plainGroup();
    auto *bookGrid = new QGridLayout(book);
    bookGrid->setColumnStretch(1, 1);
    bookGrid->setColumnStretch(3, 1);
    int row = 0;
    auto textRow = [&](const char *label, SearchField f, int maxChars) {
        CRvEdit *e = makeEdit(f, CRvEdit::Text, maxChars);
        bookGrid->addWidget(buddyLabel(label, e), row, 0);
        bookGrid->addWidget(e, row, 1, 1, 3);
        bookGrid->addWidget(makeExactBox(f, label), row, 4);
        ++row;
    };
    auto rangeRow = [&](const char *label, SearchField from, SearchField to, int type, int maxChars) {
        CRvEdit *a = makeEdit(from, type, maxChars);
        CRvEdit *b = makeEdit(to, type, maxChars);
        nameRange(a, b, label);
        bookGrid->addWidget(buddyLabel(label, a), row, 0);
        bookGrid->addWidget(a, row, 1);
        bookGrid->addWidget(buddyLabel("do", b), row, 2);
        bookGrid->addWidget(b, row, 3);
        ++row;
    };
    textRow("&Kód knihy", SearchField::Code, 32);
    rangeRow("&Přírůst. čís. od", SearchField::AccessionFrom, SearchField::AccessionTo, CRvEdit::WholeNumber,
             8);
    textRow("&Název", SearchField::Title, 128);
    textRow("&Autor", SearchField::Author, 128);
    textRow("&Vydavatel", SearchField::Publisher, 128);
    rangeRow("&Cena od", SearchField::PriceFrom, SearchField::PriceTo, CRvEdit::DecimalNumber, 10);
    m_category = new QComboBox;
    m_category->setEditable(false);
    m_category->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_category->setMinimumContentsLength(16);
    m_fields.insert(SearchField::Category, m_category);
    bookGrid->addWidget(buddyLabel("Kat&egorie", m_category), row, 0);
    bookGrid->addWidget(m_category, row, 1, 1, 3);
    ++row;
    rangeRow("&Pořízení od", SearchField::AcquiredFrom, SearchField::AcquiredTo, CRvEdit::Date, 20);
    bookGrid->setRowStretch(row, 1);

    // Keywords: the one being typed, the add and remove buttons, and the chosen ones.
    QGroupBox *words = plainGroup();
    auto *wordsGrid = new QGridLayout(words);
    CRvEdit *keyword = makeEdit(SearchField::Keyword, CRvEdit::Text, 64);
    wordsGrid->addWidget(buddyLabel("K&líč. slovo", keyword), 0, 0);
    wordsGrid->addWidget(keyword, 0, 1);
    m_addKeyword = new QPushButton;
    m_addKeyword->setIcon(style()->standardIcon(QStyle::SP_ArrowDown));
    m_addKeyword->setToolTip(QStringLiteral("Přidá klíčové slovo do seznamu"));
    m_addKeyword->setAccessibleName(QStringLiteral("Přidat klíčové slovo"));
    m_removeKeyword = new QPushButton;
    m_removeKeyword->setIcon(style()->standardIcon(QStyle::SP_DialogDiscardButton));
    m_removeKeyword->setToolTip(QStringLiteral("Odebere vybraná klíčová slova ze seznamu"));
    m_removeKeyword->setAccessibleName(QStringLiteral("Odebrat klíčové slovo"));
    auto *wordButtons = new QHBoxLayout;
    wordButtons->setSpacing(2);
    wordButtons->addWidget(m_addKeyword);
    wordButtons->addWidget(m_removeKeyword);
    wordsGrid->addLayout(wordButtons, 0, 2);
    m_keywords = new QTableWidget(0, 1);
    m_keywords->setHorizontalHeaderLabels({QStringLiteral("Klíčová slova")});
    m_keywords->horizontalHeader()->setStretchLastSection(true);
    m_keywords->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    m_keywords->horizontalHeader()->setSectionsClickable(false);
    m_keywords->verticalHeader()->hide();
    m_keywords->verticalHeader()->setDefaultSectionSize(m_keywords->fontMetrics().height() + 4);
    m_keywords->setShowGrid(true);
    m_keywords->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_keywords->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_keywords->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_keywords->setMinimumWidth(194 + 2 * m_keywords->frameWidth());
    m_keywords->setAccessibleName(QStringLiteral("Klíčová slova"));
    wordsGrid->addWidget(m_keywords, 1, 0, 1, 3);
    wordsGrid->setRowStretch(1, 1);
    wordsGrid->setColumnStretch(1, 1);
    connect(m_addKeyword, &QPushButton::clicked, this, &CVyhledavani::addKeyword);
    connect(m_removeKeyword, &QPushButton::clicked, this, &CVyhledavani::removeKeywords);

    // Discard state: considered at all, discarded or not, and when.
    QGroupBox *discard = plainGroup();
    auto *discardGrid = new QGridLayout(discard);
    m_considerDiscard = new QCheckBox(QStringLiteral("Zohledňovat stav vyřazení"));
    m_discarded = new QCheckBox(QStringLiteral("Vyřazeno"));
    CRvEdit *discardFrom = makeEdit(SearchField::DiscardFrom, CRvEdit::Date, 20);
    CRvEdit *discardTo = makeEdit(SearchField::DiscardTo, CRvEdit::Date, 20);
    nameRange(discardFrom, discardTo, "Vyřazeno od");
    discardGrid->addWidget(m_considerDiscard, 0, 0, 1, 4);
    discardGrid->addWidget(m_discarded, 1, 0, 1, 4);
    discardGrid->addWidget(buddyLabel("od", discardFrom), 2, 0);
    discardGrid->addWidget(discardFrom, 2, 1);
    discardGrid->addWidget(buddyLabel("do", discardTo), 2, 2);
    discardGrid->addWidget(discardTo, 2, 3);
    discardGrid->setColumnStretch(1, 1);
    discardGrid->setColumnStretch(3, 1);
    connect(m_considerDiscard, &QCheckBox::toggled, this, &CVyhledavani::considerDiscardToggled);
    connect(m_discarded, &QCheckBox::toggled, this, &CVyhledavani::discardedToggled);

    // Loan state: considered at all, lent or not, and to whom.
    QGroupBox *loan = plainGroup();
    auto *loanGrid = new QGridLayout(loan);
    m_considerLoan = new QCheckBox(QStringLiteral("Zohledňovat stav vypůjčení"));
    m_lent = new QCheckBox(QStringLiteral("Vypůjčeno"));
    CRvEdit *client = makeEdit(SearchField::ClientCode, CRvEdit::Text, 32);
    m_pick = new QPushButton(QStringLiteral("Nalistovat"));
    loanGrid->addWidget(m_considerLoan, 0, 0, 1, 3);
    loanGrid->addWidget(m_lent, 1, 0, 1, 3);
    loanGrid->addWidget(buddyLabel("Kód klienta", client), 2, 0);
    loanGrid->addWidget(client, 2, 1);
    loanGrid->addWidget(m_pick, 2, 2);
    loanGrid->setColumnStretch(1, 1);
    connect(m_considerLoan, &QCheckBox::toggled, this, &CVyhledavani::considerLoanToggled);
    connect(m_lent, &QCheckBox::toggled, this, &CVyhledavani::lentToggled);
    connect(m_pick, &QPushButton::clicked, this, &CVyhledavani::pickClientCode);

    m_search = new QPushButton(style()->standardIcon(QStyle::SP_FileDialogContentsView),
                               QStringLiteral("  Vyhledat"));
    m_cancel =
        new QPushButton(style()->standardIcon(QStyle::SP_DialogResetButton), QStringLiteral("  Storno"));
    m_search->setDefault(true);
    connect(m_search, &QPushButton::clicked, this, &CVyhledavani::search);
    connect(m_cancel, &QPushButton::clicked, this, &CVyhledavani::cancel);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(m_search);
    buttons->addWidget(m_cancel);

    // Book fields and keywords side by side, the two states below them, the buttons last.
    auto *panel = new QWidget;
    panel->setMaximumWidth(FormMaxWidth);
    auto *grid = new QGridLayout(panel);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->addWidget(book, 0, 0);
    grid->addWidget(words, 0, 1);
    grid->addWidget(discard, 1, 0);
    grid->addWidget(loan, 1, 1);
    grid->addLayout(buttons, 2, 0, 1, 2);
    grid->setColumnStretch(0, 3);
    grid->setColumnStretch(1, 2);

    // On a large screen the form keeps a readable width and stays in the middle.
    auto *canvas = new QWidget;
    auto *outer = new QGridLayout(canvas);
    outer->setContentsMargins(10, 8, 10, 8);
    outer->addWidget(panel, 1, 1);
    outer->setColumnStretch(0, 1);
    outer->setColumnStretch(2, 1);
    outer->setRowStretch(0, 1);
    outer->setRowStretch(2, 1);
    return canvas;
}

bool CVyhledavani::enterView(const ViewSwitchRequest &request)
{
    Q_UNUSED(request);
    if (!PrepareSearchForm())
        return false;
    // The view becomes visible only after this returns; the focus follows then.
    QTimer::singleShot(0, this, [this] {
        if (isVisible())
            focusField(SearchField::Code);
    });
    return true;
}

bool CVyhledavani::PrepareSearchForm()
{
    clearForm(true);
    QApplication::setOverrideCursor(Qt::WaitCursor);
    bool ok = true;
    try {
        for (const CategoryItem &c : visibleCategories())
            m_category->addItem(c.name, c.id);
    } catch (const DbError &e) {
        logDbError(e);
        ok = false;
    }
    m_category->setCurrentIndex(-1);
    QApplication::restoreOverrideCursor();
    if (!ok) {
        m_category->clear();
        showMessage(MsgCategoriesFailed);
    }
    return ok;
}

void CVyhledavani::clearForm(bool emptyCategories)
{
    for (auto it = m_fields.constBegin(); it != m_fields.constEnd(); ++it)
        if (auto *e = qobject_cast<CRvEdit *>(it.value()))
            e->clear();
    m_lent->setChecked(false);
    m_discarded->setChecked(false);
    m_category->setCurrentIndex(-1);
    m_keywords->setRowCount(0);
    for (QCheckBox *box : std::as_const(m_exact))
        box->setChecked(true);
    m_considerDiscard->setChecked(false);
    m_considerLoan->setChecked(false);
    m_values = SearchValues{};
    if (emptyCategories)
        m_category->clear();
    m_lent->setEnabled(false);
    edit(SearchField::ClientCode)->setEnabled(false);
    m_pick->setEnabled(false);
    m_discarded->setEnabled(false);
    edit(SearchField::DiscardFrom)->setEnabled(false);
    edit(SearchField::DiscardTo)->setEnabled(false);
    focusField(SearchField::Code);
}

void CVyhledavani::considerDiscardToggled(bool on)
{
    if (!on) {
        m_discarded->setChecked(false);
        edit(SearchField::DiscardFrom)->clear();
        edit(SearchField::DiscardTo)->clear();
    }
    m_discarded->setEnabled(on);
    edit(SearchField::DiscardFrom)->setEnabled(on && m_discarded->isChecked());
    edit(SearchField::DiscardTo)->setEnabled(on && m_discarded->isChecked());
}

void CVyhledavani::discardedToggled(bool on)
{
    if (!on) {
        edit(SearchField::DiscardFrom)->clear();
        edit(SearchField::DiscardTo)->clear();
    }
    edit(SearchField::DiscardFrom)->setEnabled(on);
    edit(SearchField::DiscardTo)->setEnabled(on);
}

void CVyhledavani::considerLoanToggled(bool on)
{
    if (!on) {
        m_lent->setChecked(false);
        edit(SearchField::ClientCode)->clear();
    }
    m_lent->setEnabled(on);
    edit(SearchField::ClientCode)->setEnabled(on && m_lent->isChecked());
    m_pick->setEnabled(on && m_lent->isChecked());
}

void CVyhledavani::lentToggled(bool on)
{
    if (!on)
        edit(SearchField::ClientCode)->clear();
    edit(SearchField::ClientCode)->setEnabled(on);
    m_pick->setEnabled(on);
}

SearchCriteria CVyhledavani::readForm() const
{
    auto text = [this](SearchField f) { return edit(f)->text(); };
    SearchCriteria c;
    c.code = text(SearchField::Code);
    c.exactCode = exactBox(SearchField::Code)->isChecked();
    c.accessionFrom = text(SearchField::AccessionFrom);
    c.accessionTo = text(SearchField::AccessionTo);
    c.title = text(SearchField::Title);
    c.exactTitle = exactBox(SearchField::Title)->isChecked();
    c.author = text(SearchField::Author);
    c.exactAuthor = exactBox(SearchField::Author)->isChecked();
    c.publisher = text(SearchField::Publisher);
    c.exactPublisher = exactBox(SearchField::Publisher)->isChecked();
    c.priceFrom = text(SearchField::PriceFrom);
    c.priceTo = text(SearchField::PriceTo);
    if (m_category->currentIndex() >= 0)
        c.category = m_category->currentData().toInt();
    c.acquiredFrom = text(SearchField::AcquiredFrom);
    c.acquiredTo = text(SearchField::AcquiredTo);
    c.keywords = chosenKeywords();
    c.considerDiscard = m_considerDiscard->isChecked();
    c.discarded = m_discarded->isChecked();
    c.discardFrom = text(SearchField::DiscardFrom);
    c.discardTo = text(SearchField::DiscardTo);
    c.considerLoan = m_considerLoan->isChecked();
    c.lent = m_lent->isChecked();
    c.clientCode = text(SearchField::ClientCode);
    return c;
}

void CVyhledavani::writeTrimmed(const SearchCriteria &c)
{
    const std::pair<SearchField, const QString *> texts[] = {
        {SearchField::Code, &c.code},
        {SearchField::AccessionFrom, &c.accessionFrom},
        {SearchField::AccessionTo, &c.accessionTo},
        {SearchField::Title, &c.title},
        {SearchField::Author, &c.author},
        {SearchField::Publisher, &c.publisher},
        {SearchField::PriceFrom, &c.priceFrom},
        {SearchField::PriceTo, &c.priceTo},
        {SearchField::AcquiredFrom, &c.acquiredFrom},
        {SearchField::AcquiredTo, &c.acquiredTo},
        {SearchField::DiscardFrom, &c.discardFrom},
        {SearchField::DiscardTo, &c.discardTo},
        {SearchField::ClientCode, &c.clientCode},
    };
    for (const auto &[f, text] : texts)
        if (edit(f)->text() != *text)
            edit(f)->setText(*text);
}

bool CVyhledavani::search()
{
    SearchCriteria criteria = readForm();
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const SearchCheck check = ValidateCriteria(criteria, m_values);
    QApplication::restoreOverrideCursor();
    writeTrimmed(criteria);
    if (!check.passed()) {
        showMessage(check.message);
        focusField(check.field);
        return false;
    }
    ViewSwitchRequest request;
    request.target = ViewSwitchRequest::ReportView;
    request.sql = BuildSearchSql(criteria, m_values);
    request.title = QString::fromUtf8(ResultTitle);
    request.reportKind = SearchReportKind;
    clearForm(true);
    if (CMainFrame *frame = CMainFrame::instance())
        frame->switchView(request);
    return true;
}

void CVyhledavani::cancel()
{
    clearForm(false);
}

QStringList CVyhledavani::chosenKeywords() const
{
    QStringList out;
    for (int r = 0; r < m_keywords->rowCount(); ++r)
        out << m_keywords->item(r, 0)->text();
    return out;
}

void CVyhledavani::addKeyword()
{
    CRvEdit *e = edit(SearchField::Keyword);
    QString keyword = e->text();
    const QStringList chosen = chosenKeywords();
    const SearchCheck check = checkNewKeyword(keyword, chosen);
    if (e->text() != keyword)
        e->setText(keyword);
    if (!check.passed()) {
        showMessage(check.message);
        focusField(check.field);
        return;
    }
    const int row = int(keywordInsertPosition(chosen, keyword));
    m_keywords->insertRow(row);
    m_keywords->setItem(row, 0, new QTableWidgetItem(keyword));
}

void CVyhledavani::removeKeywords()
{
    QList<int> rows;
    for (const QModelIndex &index : m_keywords->selectionModel()->selectedRows())
        rows << index.row();
    if (rows.isEmpty()) {
        showMessage(MsgNoKeywordSelected);
        return;
    }
    std::sort(rows.begin(), rows.end(), std::greater<int>());
    for (int r : std::as_const(rows))
        m_keywords->removeRow(r);
}

void CVyhledavani::pickClientCode()
{
    if (const std::optional<QString> code = pickClient(this))
        edit(SearchField::ClientCode)->setText(*code);
}

void CVyhledavani::focusField(SearchField f)
{
    if (QWidget *w = field(f))
        w->setFocus();
}

QLineEdit *CVyhledavani::focusedEdit() const
{
    auto *e = qobject_cast<QLineEdit *>(QApplication::focusWidget());
    return e && e->isEnabled() && isAncestorOf(e) ? e : nullptr;
}

std::optional<bool> CVyhledavani::commandEnabled(int command) const
{
    switch (command) {
    case Cmd::EditCut:
    case Cmd::EditCopy:
    case Cmd::EditPaste:
    case Cmd::EditDelete:
    case Cmd::EditSelectAll:
    case Cmd::EditUndo:
        return focusedEdit() != nullptr;
    // The form has no printable report, no history slots and no records to walk through.
    case Cmd::PrintReport:
    case Cmd::PreviewReport:
    case Cmd::EditHistory:
    case Cmd::NavFirst:
    case Cmd::NavLast:
    case Cmd::NavPageForward:
    case Cmd::NavPageBack:
    case Cmd::NavPrevious:
    case Cmd::NavNext:
        return false;
    default:
        return std::nullopt;
    }
}

bool CVyhledavani::runCommand(int command)
{
    switch (command) {
    case Cmd::EditCut:
    case Cmd::EditCopy:
    case Cmd::EditPaste:
    case Cmd::EditDelete:
    case Cmd::EditSelectAll:
    case Cmd::EditUndo:
        // Enabled by this view's own rule (an edit field has the focus), run as everywhere.
        if (focusedEdit())
            EditCommands::run(command);
        return true;
    case Cmd::PrintReport:
    case Cmd::PreviewReport:
    case Cmd::EditHistory:
    case Cmd::NavFirst:
    case Cmd::NavLast:
    case Cmd::NavPageForward:
    case Cmd::NavPageBack:
    case Cmd::NavPrevious:
    case Cmd::NavNext:
        return true;
    default:
        return false;
    }
}
