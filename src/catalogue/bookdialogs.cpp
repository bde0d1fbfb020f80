#include "catalogue/bookdialogs.h"

#include "app/columnfit.h"
#include "app/messages.h"
#include "app/rvedit.h"
#include "catalogue/bookform.h"
#include "catalogue/bookmodels.h"
#include "data/checks.h"
#include "data/dberror.h"
#include "data/labels.h"

#include <QApplication>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStyle>
#include <QTableView>
#include <QVBoxLayout>

namespace {

struct WaitCursor
{
    WaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~WaitCursor() { QApplication::restoreOverrideCursor(); }
    Q_DISABLE_COPY_MOVE(WaitCursor)
};

QTableView *makeList(QWidget *parent)
{
    auto *v = new QTableView(parent);
    v->setShowGrid(true);
    v->setSelectionBehavior(QAbstractItemView::SelectRows);
    v->setSelectionMode(QAbstractItemView::SingleSelection);
    v->setEditTriggers(QAbstractItemView::NoEditTriggers);
    v->verticalHeader()->hide();
    v->verticalHeader()->setDefaultSectionSize(v->fontMetrics().height() + 4);
    v->horizontalHeader()->setHighlightSections(false);
    v->horizontalHeader()->setSectionsClickable(true);
    return v;
}

// Header clicks sort ascending only: there is no descending order in these lists.
void sortAscendingOnClick(QTableView *view)
{
    QObject::connect(view->horizontalHeader(), &QHeaderView::sectionClicked, view, [view](int column) {
        view->model()->sort(column, Qt::AscendingOrder);
        view->horizontalHeader()->setSortIndicatorShown(true);
        view->horizontalHeader()->setSortIndicator(column, Qt::AscendingOrder);
    });
}

QDialogButtonBox *okCancel(QDialog *dialog, bool withCancel)
{
    auto *box = new QDialogButtonBox(dialog);
    QPushButton *ok = box->addButton(QStringLiteral("OK"), QDialogButtonBox::AcceptRole);
    ok->setIcon(dialog->style()->standardIcon(QStyle::SP_DialogOkButton));
    ok->setDefault(true);
    if (withCancel) {
        QPushButton *cancel = box->addButton(QStringLiteral("  Storno"), QDialogButtonBox::RejectRole);
        cancel->setIcon(dialog->style()->standardIcon(QStyle::SP_DialogCancelButton));
    }
    QObject::connect(box, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    return box;
}

} // namespace

// --- go to book ---------------------------------------------------------------------------------

CGoToBookDialog::CGoToBookDialog(QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Zadejte kód knihy, kterou chcete zobrazit"));
    auto *layout = new QVBoxLayout(this);
    auto *row = new QHBoxLayout;
    auto *icon = new QLabel(this);
    icon->setPixmap(style()->standardIcon(QStyle::SP_FileDialogContentsView).pixmap(32, 32));
    row->addWidget(icon);
    m_code = new CRvEdit(this);
    m_code->setMaxLength(32);
    auto *label = new QLabel(QStringLiteral("&Přejít na knihu s kódem"), this);
    label->setBuddy(m_code);
    row->addWidget(label);
    row->addWidget(m_code, 1);
    layout->addLayout(row);
    QDialogButtonBox *box = okCancel(this, true);
    connect(box, &QDialogButtonBox::accepted, this, [this] { tryAccept(); });
    layout->addWidget(box);
    setMinimumWidth(420);
}

bool CGoToBookDialog::tryAccept()
{
    const QString code = m_code->text().trimmed();
    if (code.isEmpty()) {
        showMessage(Message::BrowseCodeMissing);
        m_code->clear();
        m_code->setFocus();
        return false;
    }
    if (hasForbiddenChars(code)) {
        showMessage(Message::ForbiddenChars);
        m_code->setFocus();
        return false;
    }
    qint32 id = -1;
    try {
        WaitCursor wait;
        id = bookInUseId(code);
    } catch (const DbError &e) {
        showDbError(Message::BrowseDbError, e);
        return false;
    }
    if (id == -1) {
        showMessage(Message::BrowseBookNotFound);
        m_code->clear();
        m_code->setFocus();
        return false;
    }
    m_bookId = id;
    accept();
    return true;
}

std::optional<qint32> askBookToShow(QWidget *parent)
{
    CGoToBookDialog dialog(parent);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.bookId();
}

// --- book list picker ---------------------------------------------------------------------------

QString CBookPickerDialog::nothingChosenText()
{
    return QStringLiteral(
        "Musíte zvolit ze seznamu nějakou knihu!\nPokud chcete akci stronovat, stiskněte storno.");
}

CBookPickerDialog::CBookPickerDialog(const QString &heading, const QString &jetSql, QWidget *parent)
    : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Seznam knih"));
    auto *layout = new QVBoxLayout(this);
    auto *headingLabel = new QLabel(heading.trimmed(), this);
    headingLabel->setWordWrap(true);
    layout->addWidget(headingLabel);
    m_view = makeList(this);
    m_view->setObjectName(QStringLiteral("books"));
    layout->addWidget(m_view, 1);
    QDialogButtonBox *box = okCancel(this, true);
    connect(box, &QDialogButtonBox::accepted, this, [this] { tryAccept(); });
    layout->addWidget(box);
    resize(540, 400);

    if (heading.trimmed().isEmpty() || jetSql.trimmed().isEmpty())
        return;
    QList<PickerRow> rows;
    try {
        WaitCursor wait;
        rows = pickerRows(jetSql);
    } catch (const DbError &e) {
        showDbError(Message::BookDbError, e);
        return;
    } catch (const std::bad_alloc &) {
        showMessage(Message::OutOfMemory);
        return;
    }
    m_model = new BookPickerModel(std::move(rows), this);
    m_view->setModel(m_model);
    m_view->setColumnWidth(
        BookPickerModel::Code,
        qMax(62,
             fittingColumnWidth(m_view, m_model->headerData(BookPickerModel::Code, Qt::Horizontal).toString(),
                                longestCodeSample())));
    m_view->setColumnWidth(BookPickerModel::Title, 200);
    m_view->setColumnWidth(BookPickerModel::Author, 200);
    m_view->horizontalHeader()->setStretchLastSection(true);
    // The list shows its three columns side by side, with room for the scroll bar, so that it
    // never scrolls sideways.
    const QMargins margins = layout->contentsMargins();
    resize(qMax(width(), allColumnsWidth(m_view) + margins.left() + margins.right()), height());
    sortAscendingOnClick(m_view);
    connect(m_view, &QTableView::doubleClicked, this, [this] { tryAccept(); });
    if (m_model->rowCount() > 0)
        m_view->selectRow(0);
    m_view->setFocus();
    m_usable = true;
}

bool CBookPickerDialog::tryAccept()
{
    const QModelIndexList rows = m_model ? m_view->selectionModel()->selectedRows() : QModelIndexList();
    if (rows.isEmpty()) {
        RvMessageBox(QString(), nothingChosenText(), MessageKind::Warning, ButtonsOk);
        return false;
    }
    const PickerRow &r = m_model->row(rows.first().row());
    m_chosen = PickedBook{r.code, r.id};
    accept();
    return true;
}

std::optional<PickedBook> pickBook(QWidget *parent, const QString &heading, const QString &jetSql)
{
    CBookPickerDialog dialog(heading, jetSql, parent);
    if (!dialog.isUsable() || dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.chosen();
}

// --- book details -------------------------------------------------------------------------------

namespace {

CRvEdit *readOnlyEdit(QWidget *parent, int limit)
{
    auto *e = new CRvEdit(parent);
    e->setReadOnly(true);
    e->setMaxLength(limit);
    return e;
}

} // namespace

CBookDetailsDialog::CBookDetailsDialog(qint32 bookId, QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Detaily o knize"));
    auto *top = new QWidget(this);
    m_form = new BookForm(top, BookForm::Mode::Show);
    m_form->setLabelText(BookField::Accession, QStringLiteral("&Přírůstkové  číslo"));
    m_form->setLabelText(BookField::Publisher, QStringLiteral("&Vydal"));
    m_form->outer->setContentsMargins(0, 0, 0, 0);

    // State: lent (when, until, to whom) and discarded (when).
    auto *state = new QGroupBox(top);
    auto *sg = new QGridLayout(state);
    m_lent = new QCheckBox(QStringLiteral("Vypůjčeno"), state);
    m_lent->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_lent->setFocusPolicy(Qt::NoFocus);
    m_lentOn = readOnlyEdit(state, 20);
    m_returnBy = readOnlyEdit(state, 20);
    m_client = readOnlyEdit(state, 160);
    m_discarded = new QCheckBox(QStringLiteral("Vyřazeno"), state);
    m_discarded->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_discarded->setFocusPolicy(Qt::NoFocus);
    m_discardedOn = readOnlyEdit(state, 20);
    const auto buddy = [state](const QString &text, QWidget *w) {
        auto *l = new QLabel(text, state);
        l->setBuddy(w);
        return l;
    };
    sg->addWidget(m_lent, 0, 0);
    sg->addWidget(buddy(QStringLiteral("Dne"), m_lentOn), 0, 1);
    sg->addWidget(m_lentOn, 0, 2);
    sg->addWidget(buddy(QStringLiteral("Vrátit do"), m_returnBy), 0, 3);
    sg->addWidget(m_returnBy, 0, 4);
    sg->addWidget(buddy(QStringLiteral("Klient"), m_client), 0, 5);
    sg->addWidget(m_client, 0, 6);
    sg->addWidget(m_discarded, 1, 0);
    sg->addWidget(buddy(QStringLiteral("Dne"), m_discardedOn), 1, 1);
    sg->addWidget(m_discardedOn, 1, 2);
    sg->setColumnStretch(6, 1);
    for (CRvEdit *e : {m_lentOn, m_returnBy, m_discardedOn})
        e->setMaximumWidth(e->fontMetrics().horizontalAdvance(QStringLiteral("00. 00.0000")) + 16);

    m_history = makeList(this);
    m_history->setObjectName(QStringLiteral("history"));
    auto *historyLabel = new QLabel(QStringLiteral("Historie výpůjček knihy"), this);
    historyLabel->setBuddy(m_history);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(top);
    m_form->outer->insertWidget(1, state);
    m_form->keywordView->setMinimumHeight(70);
    m_form->annotation->setMinimumHeight(50);
    layout->addWidget(historyLabel);
    layout->addWidget(m_history, 1);
    QDialogButtonBox *box = okCancel(this, false);
    connect(box, &QDialogButtonBox::accepted, this, &QDialog::accept);
    layout->addWidget(box);

    BookDetails d;
    try {
        WaitCursor wait;
        d = readBookDetails(bookId);
    } catch (const DbError &e) {
        logDbError(e);
        d.message = 34;
    }
    if (d.message != 0) {
        m_failure = d.message;
        showMessage(d.message);
        return;
    }
    m_form->showRow(d.book, d.category);
    m_discarded->setChecked(d.book.discarded);
    if (d.book.discarded)
        m_discardedOn->setText(dateText(d.book.discardedOn));
    m_lent->setChecked(d.book.lent);
    if (d.book.lent) {
        m_client->setText(d.client);
        m_lentOn->setText(dateText(d.lentOn));
        if (d.returnBy != NoDate)
            m_returnBy->setText(dateText(d.returnBy));
    }
    m_historyModel = new LoanHistoryModel(d.history, this);
    m_history->setModel(m_historyModel);
    // The client's code and the dates get room for their longest values, every column for its header.
    const int widths[LoanHistoryModel::ColumnCount] = {75, 75, 141, 75, 75, 75};
    const QString samples[LoanHistoryModel::ColumnCount] = {
        longestCodeSample(), QString(), QString(), widestDateSample(), widestDateSample(), QString()};
    for (int c = 0; c < LoanHistoryModel::ColumnCount; ++c)
        m_history->setColumnWidth(
            c, qMax(widths[c],
                    fittingColumnWidth(m_history, m_historyModel->headerData(c, Qt::Horizontal).toString(),
                                       samples[c])));
    m_history->horizontalHeader()->setStretchLastSection(true);
    sortAscendingOnClick(m_history);
    m_history->setMinimumHeight(120);
    m_history->setMinimumWidth(allColumnsWidth(m_history));
    m_form->keywordView->setColumnWidth(0, 184);
    resize(sizeHint().expandedTo(QSize(660, 0)));
}

void showBookDetails(QWidget *parent, qint32 bookId)
{
    CBookDetailsDialog dialog(bookId, parent);
    if (dialog.failure() == 0)
        dialog.exec();
}
