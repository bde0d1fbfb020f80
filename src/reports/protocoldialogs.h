#pragma once

#include <QDialog>

#include <optional>

class CRvEdit;
class CTextTableModel;
class QLabel;
class QTableView;

// Dialogs 191 "Zvolte výpůjčku pro tisk protokolu" (kind 1) and 192 "Zvolte vrácení pro tisk
// protokolu" (kind 2): the user types the number, sees its books, or picks the number from the
// list of a period.
class CProtocolChooser final : public QDialog
{
    Q_OBJECT

public:
    explicit CProtocolChooser(int kind, QWidget *parent = nullptr);

    // Reads the typed number and lists its books: 110 empty, 111 no such number, 108, 109.
    bool showNumber();
    bool checkOk();
    void openPeriodList();
    qint32 number() const { return m_number; }
    CRvEdit *numberField() const { return m_numberField; }
    CTextTableModel *model() const { return m_model; }
    QLabel *infoLine() const { return m_info; }

private:
    void openBook(const QModelIndex &index);

    int m_kind;
    qint32 m_number = -1;
    CRvEdit *m_numberField = nullptr;
    QLabel *m_info = nullptr;
    QTableView *m_list = nullptr;
    CTextTableModel *m_model = nullptr;
};

// Dialogs 193 "Vyberte výpůjčku knih ze seznamu" and 194 "Vyberte vrácení knih ze seznamu": the
// loans or returns of a period, one row per number.
class CProtocolPeriodList final : public QDialog
{
    Q_OBJECT

public:
    explicit CProtocolPeriodList(int kind, QWidget *parent = nullptr);

    // 112 a date missing, 114 a date unreadable, 113 / 117 nothing in the period, 108, 109.
    bool search();
    bool checkOk(); // 115 / 118 without a selected row
    qint32 chosen() const { return m_chosen; }
    CRvEdit *fromField() const { return m_from; }
    CRvEdit *toField() const { return m_to; }
    QTableView *list() const { return m_list; }
    CTextTableModel *model() const { return m_model; }

private:
    int m_kind;
    qint32 m_chosen = -1;
    CRvEdit *m_from = nullptr;
    CRvEdit *m_to = nullptr;
    QTableView *m_list = nullptr;
    CTextTableModel *m_model = nullptr;
};

// The menu's protocol commands: choose a loan or a return, then print or preview its protocol.
void runProtocolCommand(QWidget *parent, int kind, bool preview);
