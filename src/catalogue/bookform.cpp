#include "catalogue/bookform.h"

#include "app/appstate.h"
#include "app/messages.h"
#include "app/rvedit.h"
#include "catalogue/bookmodels.h"
#include "data/checks.h"
#include "data/dberror.h"

#include <QApplication>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QPlainTextEdit>
#include <QTableView>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace {

const char *const EditLabels[] = {"",
                                  "&Kód knihy",
                                  "&Přírůst. čís.",
                                  "&Datum pořízení",
                                  "&Název",
                                  "&Autor",
                                  "Kat&egorie",
                                  "&Vydavatel *",
                                  "&Rok vydání *",
                                  "Počet &stran *",
                                  "Pořizovací &cena",
                                  "Nové k&líčové slovo *"};
const char *const ShowLabels[] = {
    "",           "&Kód knihy", "&Přírůst. čís.", "&Datum pořízení", "&Název",           "&Autor",
    "Kat&egorie", "&Vydavatel", "&Rok vydání",    "Počet &stran",    "Pořizovací &cena", ""};

QString priceText(float price)
{
    return QString::asprintf("%.2f", double(price));
}

QString numberText(qint32 n)
{
    return QString::asprintf("%d", n);
}

} // namespace

BookForm::BookForm(QWidget *owner, Mode mode) : QObject(owner), m_owner(owner), m_mode(mode)
{
    outer = new QVBoxLayout(owner);
    auto *columns = new QHBoxLayout;
    outer->addLayout(columns, 1);
    grid = new QGridLayout;
    grid->setColumnStretch(1, 1);
    columns->addLayout(grid, 3);
    right = new QVBoxLayout;
    columns->addSpacing(8);
    columns->addLayout(right, 2);

    const bool edit = mode == Mode::Edit;
    code = addLine(BookField::Code, {}, 32, CRvEdit::Text, false);
    accession = addLine(BookField::Accession, {}, 8, CRvEdit::WholeNumber, true);
    date = addLine(BookField::Date, {}, 20, CRvEdit::Date, true);
    title = addLine(BookField::Title, {}, 128, CRvEdit::Text, false);
    author = addLine(BookField::Author, {}, 128, CRvEdit::Text, false);
    if (edit) {
        category = new QComboBox(owner);
        category->setObjectName(QStringLiteral("category"));
        category->setEditable(false);
        category->setMinimumContentsLength(16);
        category->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
        auto *label = new QLabel(QString::fromUtf8(EditLabels[int(BookField::Category)]), owner);
        label->setBuddy(category);
        m_labels[int(BookField::Category)] = label;
        grid->addWidget(label, m_rows, 0);
        grid->addWidget(category, m_rows, 1);
        ++m_rows;
    } else {
        categoryName = addLine(BookField::Category, {}, 128, CRvEdit::Text, false);
    }
    publisher = addLine(BookField::Publisher, {}, 128, CRvEdit::Text, false);
    year = addLine(BookField::Year, {}, edit ? 10 : 8, CRvEdit::WholeNumber, true);
    pages = addLine(BookField::Pages, {}, 8, CRvEdit::WholeNumber, true);
    price = addLine(BookField::Price, {}, 8, CRvEdit::DecimalNumber, true);

    if (edit) {
        newKeyword = new CRvEdit(owner);
        newKeyword->setObjectName(QStringLiteral("newKeyword"));
        newKeyword->setMaxLength(128);
        auto *label = new QLabel(QString::fromUtf8(EditLabels[int(BookField::Keyword)]), owner);
        label->setBuddy(newKeyword);
        m_labels[int(BookField::Keyword)] = label;
        right->addWidget(label);
        auto *row = new QHBoxLayout;
        row->addWidget(newKeyword, 1);
        addKeywordButton = new QToolButton(owner);
        addKeywordButton->setObjectName(QStringLiteral("addKeyword"));
        addKeywordButton->setText(QStringLiteral("+"));
        addKeywordButton->setToolTip(QStringLiteral("Přidat klíčové slovo"));
        addKeywordButton->setIcon(QApplication::style()->standardIcon(QStyle::SP_ArrowDown));
        removeKeywordButton = new QToolButton(owner);
        removeKeywordButton->setObjectName(QStringLiteral("removeKeyword"));
        removeKeywordButton->setText(QStringLiteral("−"));
        removeKeywordButton->setToolTip(QStringLiteral("Odebrat vybraná klíčová slova"));
        removeKeywordButton->setIcon(QApplication::style()->standardIcon(QStyle::SP_TrashIcon));
        row->addWidget(addKeywordButton);
        row->addWidget(removeKeywordButton);
        right->addLayout(row);
        connect(addKeywordButton, &QToolButton::clicked, this, [this] {
            addKeyword();
            newKeyword->setFocus();
        });
        connect(newKeyword, &CRvEdit::enterPressed, this, [this] {
            addKeyword();
            newKeyword->setFocus();
        });
        connect(removeKeywordButton, &QToolButton::clicked, this, &BookForm::removeKeywords);
    }

    keywordModel = new KeywordListModel(this);
    keywordView = new QTableView(owner);
    keywordView->setObjectName(QStringLiteral("keywords"));
    keywordView->setModel(keywordModel);
    keywordView->setShowGrid(true);
    keywordView->setSelectionBehavior(QAbstractItemView::SelectRows);
    keywordView->setSelectionMode(edit ? QAbstractItemView::ExtendedSelection
                                       : QAbstractItemView::SingleSelection);
    keywordView->setEditTriggers(QAbstractItemView::NoEditTriggers);
    keywordView->verticalHeader()->hide();
    keywordView->verticalHeader()->setDefaultSectionSize(keywordView->fontMetrics().height() + 4);
    keywordView->horizontalHeader()->setStretchLastSection(true);
    keywordView->setColumnWidth(0, 194);
    // The lists take the room the fields leave; their own preferred size would set the page's.
    keywordView->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    keywordView->setMinimumSize(200, 90);
    if (!edit) {
        auto *label = new QLabel(QStringLiteral("Klíčová s&lova"), owner);
        label->setBuddy(keywordView);
        right->addWidget(label);
    }
    right->addWidget(keywordView, 1);

    annotation = new QPlainTextEdit(owner);
    annotation->setObjectName(QStringLiteral("annotation"));
    annotation->setTabChangesFocus(true);
    annotation->setReadOnly(!edit);
    annotation->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    annotation->setMinimumSize(200, 70);
    annotation->installEventFilter(this);
    auto *annLabel = new QLabel(edit ? QStringLiteral("Ano&tace *") : QStringLiteral("Ano&tace"), owner);
    annLabel->setBuddy(annotation);
    right->addWidget(annLabel);
    right->addWidget(annotation, 1);

    // The fields keep their natural height; what is left goes below them.
    grid->setRowStretch(m_rows + 2, 1);

    buttons = new QHBoxLayout;
    buttons->addStretch(1);
    outer->addLayout(buttons);
}

CRvEdit *BookForm::addLine(BookField field, const QString &label, int limit, int type, bool narrow)
{
    auto *e = new CRvEdit(m_owner);
    e->SetResType(type);
    e->setMaxLength(limit);
    e->setReadOnly(m_mode == Mode::Show);
    if (narrow)
        e->setMaximumWidth(e->fontMetrics().horizontalAdvance(QLatin1Char('0')) * 14 + 12);
    const char *const *labels = m_mode == Mode::Edit ? EditLabels : ShowLabels;
    auto *l = new QLabel(label.isEmpty() ? QString::fromUtf8(labels[int(field)]) : label, m_owner);
    l->setBuddy(e);
    m_labels[int(field)] = l;
    grid->addWidget(l, m_rows, 0);
    grid->addWidget(e, m_rows, 1, 1, narrow ? 1 : 2);
    ++m_rows;
    return e;
}

void BookForm::setLabelText(BookField field, const QString &text)
{
    if (QLabel *l = m_labels[int(field)])
        l->setText(text);
}

int BookForm::gridRowOf(BookField field) const
{
    QLabel *l = m_labels[int(field)];
    if (!l)
        return -1;
    int row = -1, col = 0, rs = 0, cs = 0;
    grid->getItemPosition(grid->indexOf(l), &row, &col, &rs, &cs);
    return row;
}

int BookForm::nextGridRow() const
{
    return m_rows;
}

BookTexts BookForm::texts() const
{
    BookTexts t;
    t.code = code->text();
    t.accession = accession->text();
    t.date = date->text();
    t.title = title->text();
    t.author = author->text();
    if (category)
        t.category = category->currentIndex() >= 0 ? category->currentText() : QString();
    t.publisher = publisher->text();
    t.year = year->text();
    t.pages = pages->text();
    t.price = price->text();
    t.annotation = annotation->toPlainText();
    t.keywords = keywordModel->keywords();
    return t;
}

void BookForm::showRefusal(const BookCheck &check) const
{
    showMessage(check.message);
    if (QWidget *w = widgetFor(check.field))
        w->setFocus();
}

QWidget *BookForm::widgetFor(BookField field) const
{
    switch (field) {
    case BookField::Code:
        return code;
    case BookField::Accession:
        return accession;
    case BookField::Date:
        return date;
    case BookField::Title:
        return title;
    case BookField::Author:
        return author;
    case BookField::Category:
        return category ? static_cast<QWidget *>(category) : categoryName;
    case BookField::Publisher:
        return publisher;
    case BookField::Year:
        return year;
    case BookField::Pages:
        return pages;
    case BookField::Price:
        return price;
    case BookField::Keyword:
        return newKeyword;
    case BookField::None:
        break;
    }
    return nullptr;
}

void BookForm::clearFields(const QString &dateShown, bool clearAccession)
{
    for (CRvEdit *e : {code, title, author, publisher, year, pages, price, categoryName, newKeyword})
        if (e)
            e->clear();
    if (clearAccession)
        accession->clear();
    date->setText(dateShown);
    annotation->clear();
    keywordModel->clear();
    if (category)
        category->setCurrentIndex(-1);
}

void BookForm::showEntry(const BookEntry &e)
{
    code->setText(e.code);
    accession->setText(numberText(e.accession));
    date->setText(dateText(e.acquired));
    title->setText(e.title);
    author->setText(e.author);
    publisher->setText(e.hasPublisher ? e.publisher : QString());
    year->setText(e.hasYear ? numberText(e.year) : QString());
    pages->setText(e.hasPages ? numberText(e.pages) : QString());
    price->setText(priceText(e.price));
    annotation->setPlainText(e.hasAnnotation ? e.annotation : QString());
    keywordModel->fillFromStored(e.hasKeywords ? e.keywords : QString());
}

void BookForm::showRow(const BookRow &r, const QString &categoryText)
{
    clearFields(QString(), true);
    accession->setText(numberText(r.accession));
    author->setText(r.author);
    title->setText(r.title);
    code->setText(r.code);
    price->setText(priceText(r.price));
    date->setText(dateText(r.acquired));
    if (r.hasAnnotation)
        annotation->setPlainText(r.annotation);
    if (r.hasPages)
        pages->setText(numberText(r.pages));
    if (r.hasYear)
        year->setText(numberText(r.year));
    if (r.hasPublisher)
        publisher->setText(r.publisher);
    if (r.hasKeywords)
        keywordModel->fillFromStored(r.keywords);
    if (categoryName)
        categoryName->setText(categoryText);
}

bool BookForm::fillCategories()
{
    if (!category)
        return false;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    QList<CategoryItem> items;
    bool ok = true;
    try {
        items = visibleCategories();
    } catch (const DbError &e) {
        logDbError(e);
        ok = false;
    }
    QApplication::restoreOverrideCursor();
    category->clear();
    if (!ok) {
        showMessage(Message::CategoryDbError);
        return false;
    }
    std::stable_sort(items.begin(), items.end(), [](const CategoryItem &a, const CategoryItem &b) {
        return czechOrder(a.name, b.name) < 0;
    });
    for (const CategoryItem &i : items)
        category->addItem(i.name, i.id);
    category->setCurrentIndex(-1);
    return true;
}

void BookForm::clearCategories()
{
    if (category)
        category->clear();
}

int BookForm::insertCategory(const CategoryItem &item)
{
    if (!category || item.name.isEmpty())
        return -1;
    int at = 0;
    while (at < category->count() && czechOrder(category->itemText(at), item.name) <= 0)
        ++at;
    category->insertItem(at, item.name, item.id);
    return at;
}

void BookForm::addKeyword()
{
    const QString word = newKeyword->text().trimmed();
    const int message = checkNewKeyword(word, keywordModel->keywords());
    if (message != 0) {
        showMessage(message);
        if (message == 119)
            newKeyword->setFocus();
        return;
    }
    keywordModel->addKeyword(word);
}

void BookForm::removeKeywords()
{
    QList<int> rows;
    for (const QModelIndex &i : keywordView->selectionModel()->selectedRows())
        rows << i.row();
    if (rows.isEmpty()) {
        showMessage(Message::KeywordNotChosen);
        return;
    }
    keywordModel->removeRows(rows);
}

void BookForm::refillKeywords(const QString &stored)
{
    keywordModel->fillFromStored(stored);
}

void BookForm::setDataEnabled(bool enabled)
{
    for (QWidget *w : std::initializer_list<QWidget *>{accession, date, title, author, category, publisher,
                                                       year, pages, price, newKeyword, addKeywordButton,
                                                       removeKeywordButton, keywordView, annotation})
        if (w)
            w->setEnabled(enabled);
}

bool BookForm::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == annotation && event->type() == QEvent::KeyPress) {
        const auto *key = static_cast<QKeyEvent *>(event);
        if (key->key() == Qt::Key_Space && (key->modifiers() & Qt::ControlModifier)) {
            Q_EMIT annotationHistoryRequested();
            return true;
        }
    }
    return QObject::eventFilter(watched, event);
}

void BookForm::putHistory(QWidget *edit, int slot)
{
    if (slot == 0 || !edit->isEnabled())
        return;
    const QString text = AppState::instance().history.recall(slot).left(1024);
    if (auto *rv = qobject_cast<CRvEdit *>(edit))
        rv->setText(text);
    else if (auto *plain = qobject_cast<QPlainTextEdit *>(edit))
        plain->setPlainText(text);
}

int BookForm::historySlot(const QWidget *edit, HistorySlots layout) const
{
    if (edit == newKeyword)
        return layout.keywordSlot;
    const QWidget *const fields[] = {code,  accession, title,     author, date,
                                     price, year,      publisher, pages,  annotation};
    for (int i = 0; i < int(std::size(fields)); ++i)
        if (fields[i] == edit)
            return layout.firstSlot + i;
    return 0;
}

bool BookForm::insertKeywordHistory(QWidget *edit, HistorySlots layout)
{
    if (edit != newKeyword)
        return false;
    refillKeywords(AppState::instance().history.recall(layout.keywordSlot));
    newKeyword->clear();
    return true;
}

void BookForm::historyRequested(QWidget *edit, HistorySlots layout)
{
    if (!edit->isEnabled() || insertKeywordHistory(edit, layout))
        return;
    putHistory(edit, historySlot(edit, layout));
}
