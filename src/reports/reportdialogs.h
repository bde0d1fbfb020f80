#pragma once

#include "reports/reportcore.h"

#include <QDialog>

#include <optional>

class CRvEdit;
class QComboBox;

// The parameter dialogs of the reports. Each dialog's OK checks are a public method, so that
// they can be run without showing the dialog.

struct ReportDate
{
    DateNumber day = NoDate;
    QString shown; // the display form, " 7. 3.2005"
};

struct ReportClientAndDate
{
    ReportClient client;
    ReportDate date;
};

// Dialog 177 "Zadejte název kategorie knih": the shown categories in a drop-down list.
class CReportCategoryDialog final : public QDialog
{
    Q_OBJECT

public:
    explicit CReportCategoryDialog(QWidget *parent = nullptr);
    // Fills the list; false (after message 49 or 4) when the dialog must close as cancelled.
    bool fill();
    bool checkOk(); // message 8 without a selection
    QComboBox *list() const { return m_list; }
    ReportCategory result() const { return m_result; }

private:
    QComboBox *m_list = nullptr;
    ReportCategory m_result;
};

// Dialog 178 "Zadejte nejpozdější datum vrácení".
class CReportDateDialog final : public QDialog
{
    Q_OBJECT

public:
    explicit CReportDateDialog(QWidget *parent = nullptr);
    bool checkOk(); // message 95 when the field is not a date
    CRvEdit *dateField() const { return m_date; }
    ReportDate result() const { return m_result; }

private:
    CRvEdit *m_date = nullptr;
    ReportDate m_result;
};

// Dialog 180 "Zadejte kód klienta", and with a date field dialog 195 "Zadejte nejpozdější datum
// vrácení a kód klienta".
class CReportClientDialog final : public QDialog
{
    Q_OBJECT

public:
    explicit CReportClientDialog(bool withDate, QWidget *parent = nullptr);
    // The code first (119, 15, 13), then the date (95); the focus goes to the field at fault.
    bool checkOk();
    // "Nalistovat": the client picker; a chosen client's code fills the field, then OK is carried
    // out at once (without the date field) or the focus goes to the date field.
    void browseClients();
    void setPickedCode(const QString &code);
    CRvEdit *codeField() const { return m_code; }
    CRvEdit *dateField() const { return m_date; }
    ReportClientAndDate result() const { return m_result; }

private:
    CRvEdit *m_code = nullptr;
    CRvEdit *m_date = nullptr;
    ReportClientAndDate m_result;
};

// A date field of the report dialogs, preset to today in the display form.
CRvEdit *todayField(QWidget *parent);

std::optional<ReportCategory> askReportCategory(QWidget *parent);
std::optional<ReportDate> askReportDate(QWidget *parent);
std::optional<ReportClient> askReportClient(QWidget *parent);
std::optional<ReportClientAndDate> askReportClientAndDate(QWidget *parent);
