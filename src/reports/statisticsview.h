#pragma once

#include "reports/statisticscore.h"

#include <QDialog>
#include <QWidget>

#include <optional>

class QSpinBox;
class QTableView;
class CTextTableModel;

// The bar chart of loans by month on the screen.
class CLoansChart final : public QWidget
{
    Q_OBJECT

public:
    explicit CLoansChart(QWidget *parent = nullptr);
    void setStatistics(const AnnualStatistics &s);
    QSize sizeHint() const override { return {520, 240}; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    AnnualStatistics m_stats;
};

// "Roční statistika": the year to count.
class CStatisticsYearDialog final : public QDialog
{
    Q_OBJECT

public:
    explicit CStatisticsYearDialog(QWidget *parent = nullptr);
    QSpinBox *yearField() const { return m_year; }
    int year() const;

private:
    QSpinBox *m_year = nullptr;
};

std::optional<int> askStatisticsYear(QWidget *parent);

// The statistics of one year: the figures, the chart, the months, the twenty books most lent and
// the categories, with printing, the print preview and the HTML and CSV files.
class CStatisticsView final : public QDialog
{
    Q_OBJECT

public:
    CStatisticsView(const AnnualStatistics &s, const QString &library, QWidget *parent = nullptr);

    void print();
    void preview();
    bool exportHtml(); // true when a page was written
    bool exportCsv();
    QTableView *figuresTable() const { return m_figures; }
    QTableView *booksTable() const { return m_books; }
    QTableView *categoriesTable() const { return m_categories; }
    CLoansChart *chart() const { return m_chart; }

private:
    bool save(const QString &filter, const QString &suffix, const QByteArray &content);
    AnnualStatistics m_stats;
    QString m_library;
    QTableView *m_figures = nullptr;
    QTableView *m_months = nullptr;
    QTableView *m_books = nullptr;
    QTableView *m_categories = nullptr;
    CLoansChart *m_chart = nullptr;
};

// Asks for the year, computes (message 108, 109 or 49 on failure) and shows the view.
void runStatistics(QWidget *parent);
