#pragma once

#include "registers/registercore.h"

#include <QDialog>
#include <QString>

#include <optional>

class CRegisterListModel;
class CRvEdit;
class QCheckBox;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QTableView;
class QWidget;

// The client picker "Seznam klientů" (clients in use, by surname): returns the chosen client's
// code, or nothing when cancelled.
std::optional<QString> pickClient(QWidget *parent);

// The fields of a client shared by the new-client and edit-client dialogs. The four supplementary
// fields are enabled only while "Včetně doplňujících údajů" is checked; clearing it empties them.
class CClientForm final : public QWidget
{
    Q_OBJECT

public:
    explicit CClientForm(QWidget *parent = nullptr);

    Registers::ClientEntry entry() const;
    // Shows a stored client: the optional texts only where their flag is set.
    void setData(const Registers::ClientData &data);
    void clear();
    void setFieldsEnabled(bool enabled);
    void focusField(Registers::ClientField field);
    // Runs the checks of the form (storedCode: the code of the client being edited); shows the
    // message and moves the focus when one fails.
    bool check(const QString *storedCode, Registers::ClientData *checked);

    QLineEdit *code() const { return m_code; }
    QLineEdit *first() const { return m_first; }
    QLineEdit *surname() const { return m_surname; }
    QCheckBox *extended() const { return m_extended; }
    QLineEdit *document() const { return m_document; }
    CRvEdit *birth() const { return m_birth; }
    QPlainTextEdit *address() const { return m_address; }
    QLineEdit *function() const { return m_function; }

private:
    void extendedToggled(bool on);

    QLineEdit *m_code = nullptr;
    QLineEdit *m_first = nullptr;
    QLineEdit *m_surname = nullptr;
    QCheckBox *m_extended = nullptr;
    QLineEdit *m_document = nullptr;
    CRvEdit *m_birth = nullptr;
    QPlainTextEdit *m_address = nullptr;
    QLineEdit *m_function = nullptr;
    bool m_fieldsEnabled = true;
};

// "&Nový klient...": the data of a new client, checked before the dialog closes.
class CDlgNovyKlient final : public QDialog
{
    Q_OBJECT

public:
    explicit CDlgNovyKlient(QWidget *parent = nullptr);
    CClientForm *form() const { return m_form; }
    Registers::ClientData data() const { return m_data; }
    bool check();
    void accept() override;

private:
    CClientForm *m_form = nullptr;
    Registers::ClientData m_data;
};

// "&Přejmenování klienta...": finds a client in use by code, shows the stored data, and closes
// with "Opravit" once the changed data pass the checks.
class CDlgOpravaKlienta final : public QDialog
{
    Q_OBJECT

public:
    explicit CDlgOpravaKlienta(QWidget *parent = nullptr);

    CClientForm *form() const { return m_form; }
    QLineEdit *lookupEdit() const;
    QPushButton *correctButton() const { return m_correct; }
    QPushButton *originalButton() const { return m_original; }

    // The "OK" of the code: messages 14, 119, 15, 16; on success fills the form.
    bool lookUp();
    void restoreOriginal(); // "  Původní"
    bool check();           // "Opravit"
    void accept() override;

    qint32 clientId() const { return m_id; }
    Registers::ClientData data() const { return m_data; }

private:
    void pick();
    void setFound(bool found);

    CRvEdit *m_lookup = nullptr;
    CClientForm *m_form = nullptr;
    QPushButton *m_correct = nullptr;
    QPushButton *m_original = nullptr;
    qint32 m_id = -1;
    Registers::ClientData m_stored;
    Registers::ClientData m_data;
};

// "&Odstranění klienta...": a client by code, refused while the client holds a book (messages
// 88, 119, 15, 89, 13).
class CDlgOdstraneniKlienta final : public QDialog
{
    Q_OBJECT

public:
    explicit CDlgOdstraneniKlienta(QWidget *parent = nullptr);
    QLineEdit *codeEdit() const { return m_code; }
    bool check();
    void accept() override;
    qint32 clientId() const { return m_id; }

private:
    QLineEdit *m_code = nullptr;
    qint32 m_id = -1;
};

// "Detaily o klientovi": one client, removed ones too, read only.
class CDlgDetailyKlienta final : public QDialog
{
    Q_OBJECT

public:
    CDlgDetailyKlienta(qint32 clientId, QWidget *parent = nullptr);
    int exec() override; // closes at once as cancelled for client -1

    QLineEdit *field(int index) const { return m_fields.value(index); } // Kód .. Funkce, no address
    QPlainTextEdit *address() const { return m_address; }
    QString text(const QString &label) const; // the text shown under a label, "&Adresa" and so on

private:
    qint32 m_id;
    QList<QLineEdit *> m_fields;
    QStringList m_labels;
    QPlainTextEdit *m_address = nullptr;
};

// "Seznam klientů" of the register: the clients in use; a row opened by double click or Enter
// shows its details.
class CDlgSeznamKlientu final : public QDialog
{
    Q_OBJECT

public:
    explicit CDlgSeznamKlientu(QWidget *parent = nullptr);
    CRegisterListModel *model() const { return m_model; }
    QTableView *list() const { return m_list; }
    void openDetails(int row);

Q_SIGNALS:
    void detailsRequested(qint32 clientId); // before the details dialog opens

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    CRegisterListModel *m_model = nullptr;
    QTableView *m_list = nullptr;
};

// The client picker: the clients in use, surnames ascending.
class CDlgVyberKlienta final : public QDialog
{
    Q_OBJECT

public:
    explicit CDlgVyberKlienta(QWidget *parent = nullptr);
    CRegisterListModel *model() const { return m_model; }
    QTableView *list() const { return m_list; }
    QString chosenCode() const;
    void accept() override;

private:
    CRegisterListModel *m_model = nullptr;
    QTableView *m_list = nullptr;
};
