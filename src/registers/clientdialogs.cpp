#include "registers/clientdialogs.h"

#include "app/messages.h"
#include "app/rvedit.h"
#include "data/checks.h"
#include "data/dberror.h"
#include "registers/registerwidgets.h"

#include <QApplication>
#include <QCheckBox>
#include <QFormLayout>
#include <QFrame>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

using Registers::ClientData;
using Registers::ClientEntry;
using Registers::ClientField;

namespace {

QHBoxLayout *buttonRow(std::initializer_list<QPushButton *> buttons)
{
    auto *row = new QHBoxLayout;
    row->addStretch(1);
    for (QPushButton *b : buttons)
        row->addWidget(b);
    return row;
}

QLineEdit *lineEdit(QWidget *parent, int maxLength, int widthInChars)
{
    auto *e = new QLineEdit(parent);
    e->setMaxLength(maxLength);
    e->setMinimumWidth(e->fontMetrics().averageCharWidth() * widthInChars);
    return e;
}

// The address field: several lines, Tab moves on.
QPlainTextEdit *addressEdit(QWidget *parent)
{
    auto *e = new QPlainTextEdit(parent);
    e->setTabChangesFocus(true);
    e->setFixedHeight(e->fontMetrics().lineSpacing() * 4 + 10);
    return e;
}

} // namespace

// ---- Client form ----

CClientForm::CClientForm(QWidget *parent) : QWidget(parent)
{
    m_code = lineEdit(this, 32, 20);
    m_first = lineEdit(this, 64, 32);
    m_surname = lineEdit(this, 64, 32);
    m_extended = new QCheckBox(QStringLiteral("&Včetně doplňujících údajů"), this);
    m_document = lineEdit(this, 32, 20);
    m_birth = new CRvEdit(this);
    m_birth->SetResType(CRvEdit::Date);
    m_birth->setMaxLength(16);
    m_birth->setMinimumWidth(m_birth->fontMetrics().averageCharWidth() * 14);
    m_birth->setPlaceholderText(QStringLiteral("d.m.rrrr"));
    m_address = addressEdit(this);
    m_function = lineEdit(this, 64, 32);

    auto *form = new QFormLayout(this);
    form->setContentsMargins(0, 0, 0, 0);
    form->addRow(QStringLiteral("&Kód"), m_code);
    form->addRow(QStringLiteral("&Jméno"), m_first);
    form->addRow(QStringLiteral("&Příjmení"), m_surname);
    form->addRow(m_extended);
    form->addRow(QStringLiteral("&Doklad č."), m_document);
    form->addRow(QStringLiteral("&Narození"), m_birth);
    form->addRow(QStringLiteral("&Adresa"), m_address);
    form->addRow(QStringLiteral("&Funkce"), m_function);
    connect(m_extended, &QCheckBox::toggled, this, &CClientForm::extendedToggled);
    extendedToggled(false);
}

void CClientForm::extendedToggled(bool on)
{
    if (!on) {
        m_document->clear();
        m_birth->clear();
        m_address->clear();
        m_function->clear();
    }
    const bool enable = on && m_fieldsEnabled;
    for (QWidget *w : std::initializer_list<QWidget *>{m_document, m_birth, m_address, m_function})
        w->setEnabled(enable);
}

ClientEntry CClientForm::entry() const
{
    ClientEntry e;
    e.code = m_code->text();
    e.first = m_first->text();
    e.surname = m_surname->text();
    e.extended = m_extended->isChecked();
    e.document = m_document->text();
    e.birth = m_birth->text();
    e.address = m_address->toPlainText();
    e.function = m_function->text();
    return e;
}

void CClientForm::setData(const ClientData &d)
{
    m_code->setText(d.code);
    m_first->setText(d.first);
    m_surname->setText(d.surname);
    m_extended->setChecked(d.extended);
    extendedToggled(d.extended);
    m_document->setText(d.hasDocument ? d.document : QString());
    m_birth->setText(d.hasBirth ? dateText(d.birth) : QString());
    m_address->setPlainText(d.hasAddress ? d.address : QString());
    m_function->setText(d.hasFunction ? d.function : QString());
}

void CClientForm::clear()
{
    setData(ClientData{});
}

void CClientForm::setFieldsEnabled(bool enabled)
{
    m_fieldsEnabled = enabled;
    for (QWidget *w : std::initializer_list<QWidget *>{m_code, m_first, m_surname, m_extended})
        w->setEnabled(enabled);
    const bool extendedOn = enabled && m_extended->isChecked();
    for (QWidget *w : std::initializer_list<QWidget *>{m_document, m_birth, m_address, m_function})
        w->setEnabled(extendedOn);
}

void CClientForm::focusField(ClientField field)
{
    switch (field) {
    case ClientField::Code:
        m_code->setFocus();
        break;
    case ClientField::First:
        m_first->setFocus();
        break;
    case ClientField::Surname:
        m_surname->setFocus();
        break;
    case ClientField::Birth:
        m_birth->setFocus();
        break;
    case ClientField::None:
        break;
    }
}

bool CClientForm::check(const QString *storedCode, ClientData *checked)
{
    Registers::ClientCheck result;
    {
        WaitCursor wait;
        result = Registers::checkClientEntry(entry(), storedCode, checked);
    }
    if (result.message == 0)
        return true;
    showMessage(result.message);
    focusField(result.field);
    return false;
}

// ---- New client ----

CDlgNovyKlient::CDlgNovyKlient(QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Zadejte údaje o novém klientovi"));
    auto *layout = new QVBoxLayout(this);
    m_form = new CClientForm(this);
    layout->addWidget(m_form);
    QPushButton *ok = makeAcceptButton(QStringLiteral("OK"), this);
    QPushButton *cancel = makeCancelButton(QStringLiteral("  Storno"), this);
    ok->setDefault(true);
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    layout->addLayout(buttonRow({ok, cancel}));
    m_form->code()->setFocus();
}

bool CDlgNovyKlient::check()
{
    return m_form->check(nullptr, &m_data);
}

void CDlgNovyKlient::accept()
{
    if (check())
        QDialog::accept();
}

// ---- Edit client ----

CDlgOpravaKlienta::CDlgOpravaKlienta(QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Opravte údaje o klientovi"));
    auto *layout = new QVBoxLayout(this);

    auto *label = new QLabel(QStringLiteral("&Opravit údaje o klientovi s kódem"), this);
    m_lookup = new CRvEdit(this);
    m_lookup->setMaxLength(32);
    m_lookup->setMinimumWidth(m_lookup->fontMetrics().averageCharWidth() * 20);
    label->setBuddy(m_lookup);
    auto *find = makeAcceptButton(QStringLiteral("OK"), this);
    auto *browse = new QPushButton(QStringLiteral("Nalistovat..."), this);
    for (QPushButton *b : {find, browse})
        b->setAutoDefault(false);
    auto *lookupRow = new QHBoxLayout;
    lookupRow->addWidget(label);
    lookupRow->addWidget(m_lookup, 1);
    lookupRow->addWidget(find);
    lookupRow->addWidget(browse);
    layout->addLayout(lookupRow);
    auto *line = new QFrame(this);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    layout->addWidget(line);

    m_form = new CClientForm(this);
    layout->addWidget(m_form);

    m_correct = new QPushButton(QStringLiteral("Opravit"), this);
    m_correct->setDefault(true);
    m_original = new QPushButton(QStringLiteral("  Původní"), this);
    m_original->setAutoDefault(false);
    QPushButton *cancel = makeCancelButton(QStringLiteral("  Storno"), this);
    cancel->setAutoDefault(false);
    layout->addLayout(buttonRow({m_correct, m_original, cancel}));

    connect(m_lookup, &CRvEdit::enterPressed, this, [this] { lookUp(); });
    connect(find, &QPushButton::clicked, this, [this] { lookUp(); });
    connect(browse, &QPushButton::clicked, this, &CDlgOpravaKlienta::pick);
    connect(m_correct, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_original, &QPushButton::clicked, this, &CDlgOpravaKlienta::restoreOriginal);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    setFound(false);
    m_lookup->setFocus();
}

QLineEdit *CDlgOpravaKlienta::lookupEdit() const
{
    return m_lookup;
}

void CDlgOpravaKlienta::setFound(bool found)
{
    if (!found) {
        m_id = -1;
        m_form->clear();
    }
    m_form->setFieldsEnabled(found);
    m_correct->setEnabled(found);
    m_original->setEnabled(found);
}

bool CDlgOpravaKlienta::lookUp()
{
    const QString code = m_lookup->text().trimmed();
    if (code.isEmpty()) {
        showMessage(Message::ClientCodeMissingForEdit);
        m_lookup->setFocus();
        return false;
    }
    if (hasForbiddenChars(code)) {
        showMessage(Message::ForbiddenChars);
        m_lookup->setFocus();
        return false;
    }
    std::optional<Registers::ClientRecord> client;
    try {
        WaitCursor wait;
        client = Registers::clientByCode(code);
    } catch (const DbError &e) {
        logDbError(e);
        setFound(false);
        showMessage(Message::ClientDbError);
        return false;
    }
    if (!client || !client->visible) {
        setFound(false);
        showMessage(client ? 16 : 15);
        m_lookup->setFocus();
        return false;
    }
    m_id = client->id;
    m_stored = client->data;
    m_form->setData(m_stored);
    setFound(true);
    m_form->code()->setFocus();
    return true;
}

void CDlgOpravaKlienta::restoreOriginal()
{
    if (m_id < 0)
        return;
    m_form->setData(m_stored);
    m_form->setFieldsEnabled(true);
}

void CDlgOpravaKlienta::pick()
{
    if (const std::optional<QString> code = pickClient(this)) {
        m_lookup->setText(*code);
        lookUp();
    }
}

bool CDlgOpravaKlienta::check()
{
    if (m_id < 0)
        return false;
    return m_form->check(&m_stored.code, &m_data);
}

void CDlgOpravaKlienta::accept()
{
    if (check())
        QDialog::accept();
}

// ---- Remove client ----

CDlgOdstraneniKlienta::CDlgOdstraneniKlienta(QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Zadejte klienta k odstranění z databáze"));
    auto *layout = new QVBoxLayout(this);
    auto *label = new QLabel(QStringLiteral("&Odstranit z databáze klienta s kódem"), this);
    m_code = lineEdit(this, 32, 20);
    label->setBuddy(m_code);
    auto *browse = new QPushButton(QStringLiteral("Nalistovat..."), this);
    browse->setAutoDefault(false);
    auto *row = new QHBoxLayout;
    row->addWidget(label);
    row->addWidget(m_code, 1);
    row->addWidget(browse);
    layout->addLayout(row);
    layout->addStretch(1);
    QPushButton *remove = makeAcceptButton(QStringLiteral("  Odstranit"), this);
    remove->setDefault(true);
    QPushButton *cancel = makeCancelButton(QStringLiteral("  Storno"), this);
    cancel->setAutoDefault(false);
    layout->addLayout(buttonRow({remove, cancel}));
    connect(browse, &QPushButton::clicked, this, [this] {
        if (const std::optional<QString> code = pickClient(this))
            m_code->setText(*code);
        m_code->setFocus();
    });
    connect(remove, &QPushButton::clicked, this, &QDialog::accept);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
}

bool CDlgOdstraneniKlienta::check()
{
    const QString code = m_code->text().trimmed();
    if (code.isEmpty()) {
        showMessage(Message::ClientCodeMissing);
        m_code->setFocus();
        return false;
    }
    if (hasForbiddenChars(code)) {
        showMessage(Message::ForbiddenChars);
        m_code->setFocus();
        return false;
    }
    try {
        WaitCursor wait;
        const std::optional<Registers::ClientRecord> client = Registers::clientByCode(code);
        if (!client) {
            showMessage(Message::ClientNotFound);
            m_code->setFocus();
            return false;
        }
        if (Registers::clientHoldsBook(client->id)) {
            showMessage(Message::ClientHoldsBook);
            m_code->setFocus();
            return false;
        }
        m_id = client->id;
    } catch (const DbError &e) {
        showDbError(Message::ClientDbError, e);
        return false;
    }
    return true;
}

void CDlgOdstraneniKlienta::accept()
{
    if (check())
        QDialog::accept();
}

// ---- Details ----

CDlgDetailyKlienta::CDlgDetailyKlienta(qint32 clientId, QWidget *parent) : QDialog(parent), m_id(clientId)
{
    setWindowTitle(QStringLiteral("Detaily o klientovi"));
    auto *layout = new QVBoxLayout(this);
    auto *form = new QFormLayout;
    m_labels = {QStringLiteral("&Kód"),       QStringLiteral("&Jméno"),    QStringLiteral("&Příjmení"),
                QStringLiteral("&Doklad č."), QStringLiteral("&Narození"), QStringLiteral("&Funkce")};
    for (const QString &label : std::as_const(m_labels)) {
        auto *e = lineEdit(this, 255, label == QStringLiteral("&Kód") ? 20 : 32);
        e->setReadOnly(true);
        m_fields << e;
        if (label == QStringLiteral("&Funkce")) {
            m_address = addressEdit(this);
            m_address->setReadOnly(true);
            form->addRow(QStringLiteral("&Adresa"), m_address);
        }
        form->addRow(label, e);
    }
    layout->addLayout(form);
    QPushButton *ok = makeAcceptButton(QStringLiteral("OK"), this);
    ok->setDefault(true);
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    layout->addLayout(buttonRow({ok}));
    if (m_id == -1)
        return;
    std::optional<Registers::ClientRecord> client;
    try {
        WaitCursor wait;
        client = Registers::clientById(m_id);
    } catch (const DbError &e) {
        showDbError(Message::ClientDbError, e);
    }
    if (!client)
        return;
    const ClientData &d = client->data;
    m_fields[0]->setText(d.code);
    m_fields[1]->setText(d.first);
    m_fields[2]->setText(d.surname);
    m_fields[3]->setText(d.hasDocument ? d.document : QString());
    m_fields[4]->setText(d.hasBirth ? dateText(d.birth) : QString());
    m_fields[5]->setText(d.hasFunction ? d.function : QString());
    m_address->setPlainText(d.hasAddress ? d.address : QString());
}

int CDlgDetailyKlienta::exec()
{
    if (m_id == -1)
        return Rejected;
    return QDialog::exec();
}

QString CDlgDetailyKlienta::text(const QString &label) const
{
    if (label == QStringLiteral("&Adresa"))
        return m_address->toPlainText();
    const int i = int(m_labels.indexOf(label));
    return i < 0 ? QString() : m_fields.at(i)->text();
}

// ---- Register list ----

CDlgSeznamKlientu::CDlgSeznamKlientu(QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Seznam klientů"));
    auto *layout = new QVBoxLayout(this);
    auto *header = new QLabel(QStringLiteral("Seznam klientů v databázi"), this);
    m_list = new QTableView(this);
    header->setBuddy(m_list);
    m_model = new CRegisterListModel(
        {QStringLiteral("Kód"), QStringLiteral("Jméno"), QStringLiteral("Příjmení")}, this);
    m_list->setModel(m_model);
    setUpRegisterList(m_list, {76, 160, 160});
    m_list->setMinimumHeight(m_list->verticalHeader()->defaultSectionSize() * 16);
    m_list->installEventFilter(this);
    layout->addWidget(header);
    layout->addWidget(m_list);
    QPushButton *ok = makeAcceptButton(QStringLiteral("OK"), this);
    ok->setDefault(true);
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_list, &QTableView::doubleClicked, this, [this](const QModelIndex &i) { openDetails(i.row()); });
    layout->addLayout(buttonRow({ok}));
    try {
        WaitCursor wait;
        QList<CRegisterListModel::Row> rows;
        for (const Registers::ClientRecord &c : Registers::visibleClients())
            rows << CRegisterListModel::Row{{c.data.code, c.data.first, c.data.surname}, c.id, -1};
        m_model->setRows(rows);
    } catch (const DbError &e) {
        logDbError(e);
        m_model->clear();
        showMessage(Message::ClientDbError);
    }
    if (m_model->rowCount() > 0)
        m_list->setCurrentIndex(m_model->index(0, 0));
}

// Enter on a row opens its details instead of closing the list.
bool CDlgSeznamKlientu::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_list && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent *>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            if (m_list->currentIndex().isValid())
                openDetails(m_list->currentIndex().row());
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

void CDlgSeznamKlientu::openDetails(int row)
{
    if (row < 0 || row >= m_model->rowCount())
        return;
    const qint32 id = m_model->row(row).id;
    Q_EMIT detailsRequested(id);
    CDlgDetailyKlienta details(id, this);
    details.exec();
}

// ---- Picker ----

CDlgVyberKlienta::CDlgVyberKlienta(QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Seznam klientů"));
    auto *layout = new QVBoxLayout(this);
    auto *header = new QLabel(QStringLiteral("Vyberte klienta ze seznamu"), this);
    m_list = new QTableView(this);
    header->setBuddy(m_list);
    m_model = new CRegisterListModel(
        {QStringLiteral("Příjmení"), QStringLiteral("Jméno"), QStringLiteral("Kód")}, this);
    m_list->setModel(m_model);
    setUpRegisterList(m_list, {159, 159, 144});
    m_list->setMinimumHeight(m_list->verticalHeader()->defaultSectionSize() * 16);
    layout->addWidget(header);
    layout->addWidget(m_list);
    QPushButton *ok = makeAcceptButton(QStringLiteral("OK"), this);
    ok->setDefault(true);
    QPushButton *cancel = makeCancelButton(QStringLiteral("  Storno"), this);
    cancel->setAutoDefault(false);
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_list, &QTableView::doubleClicked, this, &QDialog::accept);
    layout->addLayout(buttonRow({ok, cancel}));
    try {
        WaitCursor wait;
        QList<CRegisterListModel::Row> rows;
        for (const Registers::ClientRecord &c : Registers::clientsBySurname())
            rows << CRegisterListModel::Row{{c.data.surname, c.data.first, c.data.code}, c.id, -1};
        m_model->setRows(rows);
    } catch (const DbError &e) {
        logDbError(e);
        m_model->clear();
        showMessage(Message::ClientListDbError);
    }
    if (m_model->rowCount() > 0)
        m_list->setCurrentIndex(m_model->index(0, 0));
    m_list->setFocus();
}

QString CDlgVyberKlienta::chosenCode() const
{
    const QModelIndexList rows = m_list->selectionModel()->selectedRows();
    if (rows.isEmpty())
        return QString();
    return m_model->row(rows.first().row()).cells.value(2);
}

void CDlgVyberKlienta::accept()
{
    if (chosenCode().isEmpty() && m_model->rowCount() > 0) {
        QApplication::beep();
        return;
    }
    QDialog::accept();
}

std::optional<QString> pickClient(QWidget *parent)
{
    CDlgVyberKlienta dialog(parent);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    const QString code = dialog.chosenCode();
    if (code.isEmpty())
        return std::nullopt;
    return code;
}
