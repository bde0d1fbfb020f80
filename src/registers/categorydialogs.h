#pragma once

#include <QDialog>

class CRegisterListModel;
class QComboBox;
class QLineEdit;
class QPushButton;
class QTableView;

// "No&vá kategorie...": the name of a new category. OK closes only with a name that is not
// empty, has no forbidden characters and was never used (messages 3, 119, 5, 6, 4).
class CDlgNovaKategorie final : public QDialog
{
    Q_OBJECT

public:
    explicit CDlgNovaKategorie(QWidget *parent = nullptr);
    QString name() const; // trimmed
    QLineEdit *nameEdit() const { return m_name; }
    // The checks of OK; shows the message, puts the focus back into the edit and answers false
    // when the dialog must stay open.
    bool check();
    void accept() override;

private:
    QLineEdit *m_name = nullptr;
};

// "Př&ejmenování kategorie...": a category in use and its new name (messages 8, 3, 119, 5, 6,
// 4).
class CDlgPrejmenovaniKategorie final : public QDialog
{
    Q_OBJECT

public:
    explicit CDlgPrejmenovaniKategorie(QWidget *parent = nullptr);
    int exec() override; // message 49 and cancelled when the categories could not be read
    bool check();
    void accept() override;

    qint32 categoryId() const { return m_id; }
    QString oldName() const;
    QString newName() const;
    QComboBox *combo() const { return m_combo; }
    QLineEdit *nameEdit() const { return m_name; }
    bool filled() const { return m_filled; }

private:
    QComboBox *m_combo = nullptr;
    QLineEdit *m_name = nullptr;
    qint32 m_id = -1;
    bool m_filled = false;
};

// "Odst&ranění kategorie...": a category in use with no book in stock, confirmed as an
// irreversible action (messages 8, 90, 4).
class CDlgOdstraneniKategorie final : public QDialog
{
    Q_OBJECT

public:
    explicit CDlgOdstraneniKategorie(QWidget *parent = nullptr);
    int exec() override;
    bool check();
    void accept() override;

    qint32 categoryId() const { return m_id; }
    QString categoryName() const { return m_name; }
    QComboBox *combo() const { return m_combo; }
    bool filled() const { return m_filled; }

private:
    QComboBox *m_combo = nullptr;
    qint32 m_id = -1;
    QString m_name;
    bool m_filled = false;
};

// "Pře&sun mezi kategoriemi...": two categories side by side; selected books go from one list to
// the other in memory, and "Použít" (or OK) writes the moves in one transaction. The dialog
// tells the entry view after every write through categoriesMoved().
class CDlgPresunKategorie final : public QDialog
{
    Q_OBJECT

public:
    explicit CDlgPresunKategorie(QWidget *parent = nullptr);
    int exec() override;

    QComboBox *combo(int half) const { return half == 0 ? m_combo1 : m_combo2; }
    QTableView *list(int half) const { return half == 0 ? m_list1 : m_list2; }
    CRegisterListModel *model(int half) const { return half == 0 ? m_model1 : m_model2; }
    QPushButton *arrowButton(int fromHalf) const { return fromHalf == 0 ? m_toRight : m_toLeft; }
    QPushButton *applyButton() const { return m_apply; }
    QPushButton *okButton() const { return m_ok; }

    void selectAll(int half);
    void invertSelection(int half);
    // Moves the selected books of one half into the other (messages 91, 92, 93).
    bool moveSelected(int fromHalf);
    // "Použít": writes every book whose category differs from its list's; false after a
    // database failure or when a category was removed at another desk meanwhile (message 4).
    bool apply();
    void accept() override; // OK: writes and closes when there is something to write

Q_SIGNALS:
    void categoriesMoved();

private:
    void categoryChosen(int half);
    void updateArrows();
    void setPending(bool pending);
    void dropAll(); // after a failed insertion: both lists emptied, nothing chosen

    QComboBox *m_combo1 = nullptr;
    QComboBox *m_combo2 = nullptr;
    QTableView *m_list1 = nullptr;
    QTableView *m_list2 = nullptr;
    CRegisterListModel *m_model1 = nullptr;
    CRegisterListModel *m_model2 = nullptr;
    QPushButton *m_toRight = nullptr;
    QPushButton *m_toLeft = nullptr;
    QPushButton *m_apply = nullptr;
    QPushButton *m_ok = nullptr;
    bool m_filled = false;
};

// "Seznam &kategorií": the categories in use.
class CDlgSeznamKategorii final : public QDialog
{
    Q_OBJECT

public:
    explicit CDlgSeznamKategorii(QWidget *parent = nullptr);
    CRegisterListModel *model() const { return m_model; }

private:
    CRegisterListModel *m_model = nullptr;
};
