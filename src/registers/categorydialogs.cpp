#include "registers/categorydialogs.h"

#include "app/messages.h"
#include "data/checks.h"
#include "data/dberror.h"
#include "registers/registercore.h"
#include "registers/registerwidgets.h"

#include <QApplication>
#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStyle>
#include <QTableView>
#include <QVBoxLayout>

namespace {

// A row of buttons aligned to the right under the dialog's fields.
QHBoxLayout *buttonRow(std::initializer_list<QPushButton *> buttons)
{
    auto *row = new QHBoxLayout;
    row->addStretch(1);
    for (QPushButton *b : buttons)
        row->addWidget(b);
    return row;
}

QPushButton *okAndCancel(QDialog *dialog, QVBoxLayout *layout, const QString &okText)
{
    QPushButton *ok = makeAcceptButton(okText, dialog);
    QPushButton *cancel = makeCancelButton(QStringLiteral("  Storno"), dialog);
    ok->setDefault(true);
    QObject::connect(ok, &QPushButton::clicked, dialog, &QDialog::accept);
    QObject::connect(cancel, &QPushButton::clicked, dialog, &QDialog::reject);
    layout->addLayout(buttonRow({ok, cancel}));
    return ok;
}

// The category lookup of a name typed into edit; shows the message and puts the focus back.
bool lookupRefuses(const QString &name, QWidget *focus)
{
    int message = 0;
    {
        WaitCursor wait;
        message = Registers::categoryLookupMessage(name);
    }
    if (message == 0)
        return false;
    showMessage(message);
    focus->setFocus();
    return true;
}

} // namespace

// ---- New category ----

CDlgNovaKategorie::CDlgNovaKategorie(QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Zadejte název nové kategorie knih"));
    auto *layout = new QVBoxLayout(this);
    auto *label = new QLabel(QStringLiteral("&Název nové kategorie"), this);
    m_name = new QLineEdit(this);
    m_name->setMaxLength(128);
    m_name->setMinimumWidth(m_name->fontMetrics().averageCharWidth() * 48);
    label->setBuddy(m_name);
    layout->addWidget(label);
    layout->addWidget(m_name);
    layout->addStretch(1);
    okAndCancel(this, layout, QStringLiteral("OK"));
}

QString CDlgNovaKategorie::name() const
{
    return m_name->text().trimmed();
}

bool CDlgNovaKategorie::check()
{
    const QString text = name();
    int message = 0;
    if (text.isEmpty())
        message = 3;
    else if (hasForbiddenChars(text))
        message = 119;
    if (message != 0) {
        showMessage(message);
        m_name->setFocus();
        return false;
    }
    return !lookupRefuses(text, m_name);
}

void CDlgNovaKategorie::accept()
{
    if (check())
        QDialog::accept();
}

// ---- Rename ----

CDlgPrejmenovaniKategorie::CDlgPrejmenovaniKategorie(QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Opravte název stávající kategorie knih"));
    auto *layout = new QVBoxLayout(this);
    auto *form = new QFormLayout;
    m_combo = new QComboBox(this);
    m_combo->setMinimumContentsLength(32);
    m_name = new QLineEdit(this);
    m_name->setMaxLength(128);
    m_name->setMinimumWidth(m_name->fontMetrics().averageCharWidth() * 40);
    form->addRow(QStringLiteral("&Kategorie"), m_combo);
    form->addRow(QStringLiteral("&Nový název"), m_name);
    layout->addLayout(form);
    layout->addStretch(1);
    okAndCancel(this, layout, QStringLiteral("OK"));
    try {
        fillCategoryCombo(m_combo);
        m_filled = true;
    } catch (const DbError &e) {
        logDbError(e);
        m_filled = false;
    }
}

int CDlgPrejmenovaniKategorie::exec()
{
    if (!m_filled) {
        showMessage(Message::OutOfMemory);
        return Rejected;
    }
    return QDialog::exec();
}

QString CDlgPrejmenovaniKategorie::oldName() const
{
    return m_combo->currentIndex() < 0 ? QString() : m_combo->currentText().trimmed();
}

QString CDlgPrejmenovaniKategorie::newName() const
{
    return m_name->text().trimmed();
}

bool CDlgPrejmenovaniKategorie::check()
{
    const QString name = newName();
    if (m_combo->currentIndex() < 0 || oldName().isEmpty()) {
        showMessage(Message::CategoryNotChosen);
        m_combo->setFocus();
        return false;
    }
    if (name.isEmpty()) {
        showMessage(Message::CategoryNameMissing);
        m_name->setFocus();
        return false;
    }
    if (hasForbiddenChars(name)) {
        showMessage(Message::ForbiddenChars);
        m_name->setFocus();
        return false;
    }
    if (lookupRefuses(name, m_name))
        return false;
    m_id = m_combo->currentData().toInt();
    return true;
}

void CDlgPrejmenovaniKategorie::accept()
{
    if (check())
        QDialog::accept();
}

// ---- Removal ----

CDlgOdstraneniKategorie::CDlgOdstraneniKategorie(QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Zadejte kategorii knih k odstranění z databáze"));
    auto *layout = new QVBoxLayout(this);
    auto *label = new QLabel(QStringLiteral("&Odstranit z databáze kategorii"), this);
    m_combo = new QComboBox(this);
    m_combo->setMinimumContentsLength(32);
    label->setBuddy(m_combo);
    layout->addWidget(label);
    layout->addWidget(m_combo);
    layout->addStretch(1);
    okAndCancel(this, layout, QStringLiteral("  Odstranit"));
    try {
        fillCategoryCombo(m_combo);
        m_filled = true;
    } catch (const DbError &e) {
        logDbError(e);
        m_filled = false;
    }
}

int CDlgOdstraneniKategorie::exec()
{
    if (!m_filled) {
        showMessage(Message::OutOfMemory);
        return Rejected;
    }
    return QDialog::exec();
}

bool CDlgOdstraneniKategorie::check()
{
    if (m_combo->currentIndex() < 0) {
        showMessage(Message::CategoryNotChosen);
        m_combo->setFocus();
        return false;
    }
    const qint32 id = m_combo->currentData().toInt();
    try {
        WaitCursor wait;
        if (Registers::categoryHasBooksInStock(id)) {
            showMessage(Message::CategoryHoldsBooks);
            m_combo->setFocus();
            return false;
        }
    } catch (const DbError &e) {
        showDbError(Message::CategoryDbError, e);
        return false;
    }
    const int answer = RvMessageBox(
        QString(),
        QStringLiteral("Pozor, tato akce je nevratná, po jejím provedení bude zvolená kategorie\n"
                       "vyřazena navždy z databáze. Pouze o ní zůstanou informace pro archivní "
                       "účely.\n Skutečně chcete tuto kategorii vyřadit?"),
        MessageKind::Question, ButtonsYesNoIrreversible);
    if (answer != ResultYes)
        return false;
    m_id = id;
    m_name = m_combo->currentText();
    return true;
}

void CDlgOdstraneniKategorie::accept()
{
    if (check())
        QDialog::accept();
}

// ---- Move ----

CDlgPresunKategorie::CDlgPresunKategorie(QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Proveďte přesun mezi kategoriemi"));
    auto *grid = new QGridLayout;
    const QStringList headers = {QStringLiteral("Kód"), QStringLiteral("Název")};
    QList<QWidget *> tabOrder[2];
    auto makeHalf = [&](int column, const QString &title, QComboBox *&combo, QTableView *&list,
                        CRegisterListModel *&model, int half) {
        auto *label = new QLabel(title, this);
        combo = new QComboBox(this);
        combo->setMinimumContentsLength(24);
        label->setBuddy(combo);
        list = new QTableView(this);
        model = new CRegisterListModel(headers, this);
        list->setModel(model);
        setUpRegisterList(list, {90, 220}, true);
        list->setMinimumHeight(list->verticalHeader()->defaultSectionSize() * 14);
        auto *all = new QPushButton(QStringLiteral("Vybrat vše"), this);
        auto *invert = new QPushButton(QStringLiteral("Invertovat výběr"), this);
        tabOrder[half] = {combo, list, all, invert};
        for (QPushButton *b : {all, invert})
            b->setAutoDefault(false);
        auto *selectRow = new QHBoxLayout;
        selectRow->addWidget(all);
        selectRow->addWidget(invert);
        selectRow->addStretch(1);
        grid->addWidget(label, 0, column);
        grid->addWidget(combo, 1, column);
        grid->addWidget(list, 2, column);
        grid->addLayout(selectRow, 3, column);
        connect(all, &QPushButton::clicked, this, [this, half] { selectAll(half); });
        connect(invert, &QPushButton::clicked, this, [this, half] { invertSelection(half); });
        connect(combo, &QComboBox::currentIndexChanged, this, [this, half] { categoryChosen(half); });
        connect(list->selectionModel(), &QItemSelectionModel::selectionChanged, this,
                &CDlgPresunKategorie::updateArrows);
    };
    makeHalf(0, QStringLiteral("Kategorie č. &1"), m_combo1, m_list1, m_model1, 0);
    makeHalf(2, QStringLiteral("Kategorie č. &2"), m_combo2, m_list2, m_model2, 1);

    m_toRight = new QPushButton(this);
    m_toRight->setIcon(style()->standardIcon(QStyle::SP_ArrowRight));
    m_toRight->setToolTip(QStringLiteral("Přesunout vybrané knihy do kategorie č. 2"));
    m_toRight->setAccessibleName(m_toRight->toolTip());
    m_toLeft = new QPushButton(this);
    m_toLeft->setIcon(style()->standardIcon(QStyle::SP_ArrowLeft));
    m_toLeft->setToolTip(QStringLiteral("Přesunout vybrané knihy do kategorie č. 1"));
    m_toLeft->setAccessibleName(m_toLeft->toolTip());
    auto *arrows = new QVBoxLayout;
    arrows->addStretch(1);
    for (QPushButton *b : {m_toRight, m_toLeft}) {
        b->setAutoDefault(false);
        b->setIconSize(QSize(24, 24));
        arrows->addWidget(b);
    }
    arrows->addStretch(1);
    grid->addLayout(arrows, 2, 1);
    // Tab walks the left half, the arrows, then the right half.
    const QList<QWidget *> chain = tabOrder[0] + QList<QWidget *>{m_toRight, m_toLeft} + tabOrder[1];
    for (qsizetype i = 1; i < chain.size(); ++i)
        setTabOrder(chain.at(i - 1), chain.at(i));
    connect(m_toRight, &QPushButton::clicked, this, [this] { moveSelected(0); });
    connect(m_toLeft, &QPushButton::clicked, this, [this] { moveSelected(1); });

    m_apply = new QPushButton(QStringLiteral("Použít"), this);
    m_apply->setAutoDefault(false);
    m_ok = makeAcceptButton(QStringLiteral("OK"), this);
    m_ok->setDefault(true);
    QPushButton *cancel = makeCancelButton(QStringLiteral("Storno"), this);
    cancel->setAutoDefault(false);
    connect(m_apply, &QPushButton::clicked, this, [this] { apply(); });
    connect(m_ok, &QPushButton::clicked, this, &QDialog::accept);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(grid);
    layout->addLayout(buttonRow({m_apply, m_ok, cancel}));

    try {
        fillCategoryCombo(m_combo1);
        fillCategoryCombo(m_combo2);
        m_filled = true;
    } catch (const DbError &e) {
        logDbError(e);
        m_filled = false;
    }
    setPending(false);
    updateArrows();
}

int CDlgPresunKategorie::exec()
{
    if (!m_filled) {
        showMessage(Message::OutOfMemory);
        return Rejected;
    }
    return QDialog::exec();
}

void CDlgPresunKategorie::categoryChosen(int half)
{
    CRegisterListModel *m = model(half);
    m->clear();
    const int index = combo(half)->currentIndex();
    if (index < 0) {
        updateArrows();
        return;
    }
    try {
        WaitCursor wait;
        const QList<Registers::MovableBook> books =
            Registers::movableBooks(combo(half)->currentData().toInt());
        QList<CRegisterListModel::Row> rows;
        rows.reserve(books.size());
        for (const Registers::MovableBook &b : books)
            rows << CRegisterListModel::Row{{b.code, b.title}, b.id, b.category};
        m->setRows(rows);
    } catch (const DbError &e) {
        logDbError(e);
        m->clear();
        showMessage(Message::CategoryDbError);
    }
    updateArrows();
}

void CDlgPresunKategorie::updateArrows()
{
    m_toRight->setEnabled(m_list1->selectionModel()->hasSelection());
    m_toLeft->setEnabled(m_list2->selectionModel()->hasSelection());
}

void CDlgPresunKategorie::setPending(bool pending)
{
    m_combo1->setEnabled(!pending);
    m_combo2->setEnabled(!pending);
    m_apply->setEnabled(pending);
    m_ok->setEnabled(pending);
}

void CDlgPresunKategorie::dropAll()
{
    m_model1->clear();
    m_model2->clear();
    const QSignalBlocker b1(m_combo1);
    const QSignalBlocker b2(m_combo2);
    m_combo1->setCurrentIndex(-1);
    m_combo2->setCurrentIndex(-1);
    setPending(false);
    updateArrows();
}

void CDlgPresunKategorie::selectAll(int half)
{
    list(half)->selectAll();
    list(half)->setFocus();
}

void CDlgPresunKategorie::invertSelection(int half)
{
    QTableView *view = list(half);
    const int rows = model(half)->rowCount();
    if (rows == 0)
        return;
    const QItemSelection all(model(half)->index(0, 0),
                             model(half)->index(rows - 1, model(half)->columnCount() - 1));
    view->selectionModel()->select(all, QItemSelectionModel::Toggle | QItemSelectionModel::Rows);
    view->setFocus();
}

bool CDlgPresunKategorie::moveSelected(int fromHalf)
{
    if (m_combo1->currentIndex() < 0) {
        showMessage(Message::LeftCategoryNotChosen);
        return false;
    }
    if (m_combo2->currentIndex() < 0) {
        showMessage(Message::RightCategoryNotChosen);
        return false;
    }
    if (m_combo1->currentData().toInt() == m_combo2->currentData().toInt()) {
        showMessage(Message::SameCategories);
        return false;
    }
    QList<int> rows;
    for (const QModelIndex &i : list(fromHalf)->selectionModel()->selectedRows())
        rows << i.row();
    if (rows.isEmpty())
        return false;
    const QList<CRegisterListModel::Row> taken = model(fromHalf)->takeRows(rows);
    CRegisterListModel *target = model(1 - fromHalf);
    try {
        for (auto it = taken.crbegin(); it != taken.crend(); ++it)
            target->insertAtTop(*it);
    } catch (const std::bad_alloc &) {
        showMessage(Message::OutOfMemory);
        dropAll();
        return false;
    }
    setPending(true);
    updateArrows();
    return true;
}

bool CDlgPresunKategorie::apply()
{
    QList<Registers::BookMove> moves;
    const qint32 category1 = m_combo1->currentData().toInt();
    const qint32 category2 = m_combo2->currentData().toInt();
    for (const auto &r : m_model1->rows())
        if (r.extra != category1)
            moves << Registers::BookMove{r.id, category1};
    for (const auto &r : m_model2->rows())
        if (r.extra != category2)
            moves << Registers::BookMove{r.id, category2};
    bool written = false;
    try {
        WaitCursor wait;
        written = Registers::moveBooks(moves);
    } catch (const DbError &e) {
        showDbError(Message::CategoryDbError, e);
        return false;
    }
    if (!written) {
        // A category was removed at another desk: the pending moves are void; both halves
        // start again from the categories now in use.
        showMessage(Message::CategoryDbError);
        dropAll();
        try {
            fillCategoryCombo(m_combo1);
            fillCategoryCombo(m_combo2);
        } catch (const DbError &e) {
            logDbError(e);
        }
        return false;
    }
    for (int r = 0; r < m_model1->rowCount(); ++r)
        m_model1->row(r).extra = category1;
    for (int r = 0; r < m_model2->rowCount(); ++r)
        m_model2->row(r).extra = category2;
    setPending(false);
    Q_EMIT categoriesMoved();
    return true;
}

void CDlgPresunKategorie::accept()
{
    if (!m_ok->isEnabled()) {
        QApplication::beep();
        return;
    }
    if (apply())
        QDialog::accept();
}

// ---- List ----

CDlgSeznamKategorii::CDlgSeznamKategorii(QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Seznam kategorií"));
    auto *layout = new QVBoxLayout(this);
    auto *header = new QLabel(QStringLiteral("Seznam kategorií knih v databázi"), this);
    auto *list = new QTableView(this);
    header->setBuddy(list);
    m_model = new CRegisterListModel({QStringLiteral("Název kategorie")}, this);
    list->setModel(m_model);
    setUpRegisterList(list, {320});
    list->setMinimumHeight(list->verticalHeader()->defaultSectionSize() * 14);
    layout->addWidget(header);
    layout->addWidget(list);
    QPushButton *ok = makeAcceptButton(QStringLiteral("OK"), this);
    ok->setDefault(true);
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    layout->addLayout(buttonRow({ok}));
    try {
        WaitCursor wait;
        QList<CRegisterListModel::Row> rows;
        for (const Registers::CategoryRow &r : visibleCategories())
            rows << CRegisterListModel::Row{{r.name}, r.id, -1};
        m_model->setRows(rows);
    } catch (const DbError &e) {
        logDbError(e);
        m_model->clear();
        showMessage(Message::CategoryDbError);
    }
}
