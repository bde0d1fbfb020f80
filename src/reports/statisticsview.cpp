#include "reports/statisticsview.h"

#include "app/appstate.h"
#include "app/messages.h"
#include "data/safefile.h"
#include "reports/printsetup.h"
#include "reports/reportfiles.h"
#include "reports/statisticsprint.h"
#include "reports/texttablemodel.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPainter>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QPushButton>
#include <QSpinBox>
#include <QTableView>
#include <QVBoxLayout>

namespace {

QTableView *table(QWidget *parent, const QStringList &headers, const QList<QStringList> &rows,
                  int stretchColumn)
{
    auto *model = new CTextTableModel(headers, parent);
    model->setRows(rows, QList<qint32>(rows.size(), -1));
    auto *view = new QTableView(parent);
    view->setModel(model);
    view->setSelectionBehavior(QAbstractItemView::SelectRows);
    view->setSelectionMode(QAbstractItemView::SingleSelection);
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view->verticalHeader()->hide();
    view->verticalHeader()->setDefaultSectionSize(view->fontMetrics().height() + 6);
    view->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    view->horizontalHeader()->setSectionResizeMode(stretchColumn, QHeaderView::Stretch);
    return view;
}

QWidget *titled(QWidget *parent, const QString &title, QWidget *content)
{
    auto *box = new QWidget(parent);
    auto *layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    auto *label = new QLabel(QStringLiteral("<b>%1</b>").arg(title.toHtmlEscaped()), box);
    label->setBuddy(content);
    layout->addWidget(label);
    layout->addWidget(content, 1);
    return box;
}

} // namespace

CLoansChart::CLoansChart(QWidget *parent) : QWidget(parent)
{
    setMinimumSize(360, 180);
    setAccessibleName(QStringLiteral("Výpůjčky po měsících"));
}

void CLoansChart::setStatistics(const AnnualStatistics &s)
{
    m_stats = s;
    update();
}

void CLoansChart::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), Qt::white);
    paintLoansChart(painter, QRectF(rect()).adjusted(4, 4, -4, -4), m_stats);
}

CStatisticsYearDialog::CStatisticsYearDialog(QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Roční statistika"));
    m_year = new QSpinBox(this);
    m_year->setRange(StatisticsFirstYear, StatisticsLastYear);
    m_year->setValue(today().year() - 1); // the year just finished
    auto *label = new QLabel(QStringLiteral("&Statistika za rok"), this);
    label->setBuddy(m_year);
    auto *buttons = new QDialogButtonBox(this);
    QPushButton *ok = buttons->addButton(QStringLiteral("OK"), QDialogButtonBox::AcceptRole);
    buttons->addButton(QStringLiteral("  Storno"), QDialogButtonBox::RejectRole);
    ok->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(label);
    layout->addWidget(m_year);
    layout->addWidget(buttons);
    m_year->setFocus();
    m_year->selectAll();
}

int CStatisticsYearDialog::year() const
{
    return m_year->value();
}

std::optional<int> askStatisticsYear(QWidget *parent)
{
    CStatisticsYearDialog dialog(parent);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.year();
}

CStatisticsView::CStatisticsView(const AnnualStatistics &s, const QString &library, QWidget *parent)
    : QDialog(parent), m_stats(s), m_library(library)
{
    setWindowTitle(statisticsTitle(s.year));
    QList<QStringList> figures;
    for (const auto &[label, value] : statisticsFigures(s))
        figures.append({label, value});
    m_figures = table(this, {QStringLiteral("Ukazatel"), QStringLiteral("Hodnota")}, figures, 0);
    QList<QStringList> months;
    for (int m = 0; m < 12; ++m)
        months.append({monthName(m + 1), QString::number(s.loansByMonth[size_t(m)]),
                       QString::number(s.returnsByMonth[size_t(m)])});
    months.append({QStringLiteral("celkem"), QString::number(s.loans()), QString::number(s.returns())});
    m_months = table(this, {QStringLiteral("Měsíc"), QStringLiteral("Výpůjčky"), QStringLiteral("Vrácení")},
                     months, 0);
    QList<QStringList> books;
    for (int i = 0; i < s.topBooks.size(); ++i) {
        const StatisticsBook &b = s.topBooks.at(i);
        books.append({QString::number(i + 1), b.code, b.title, b.author, QString::number(b.loans)});
    }
    m_books = table(this,
                    {QStringLiteral("Pořadí"), QStringLiteral("Kód"), QStringLiteral("Název"),
                     QStringLiteral("Autor"), QStringLiteral("Výpůjčky")},
                    books, 2);
    QList<QStringList> categories;
    for (const StatisticsCategory &c : s.categories)
        categories.append({c.name, QString::number(c.loans)});
    m_categories = table(this, {QStringLiteral("Kategorie"), QStringLiteral("Výpůjčky")}, categories, 0);
    m_chart = new CLoansChart(this);
    m_chart->setStatistics(s);

    auto *heading = new QLabel(
        QStringLiteral("<h2>%1</h2>%2").arg(statisticsTitle(s.year).toHtmlEscaped(), library.toHtmlEscaped()),
        this);
    auto *grid = new QGridLayout;
    grid->addWidget(titled(this, QStringLiteral("Přehled"), m_figures), 0, 0);
    grid->addWidget(titled(this, QStringLiteral("Výpůjčky po měsících"), m_chart), 0, 1);
    grid->addWidget(titled(this, QStringLiteral("Výpůjčky a vrácení po měsících"), m_months), 1, 0);
    grid->addWidget(titled(this, QStringLiteral("Nejčastěji půjčované knihy"), m_books), 1, 1);
    grid->addWidget(titled(this, QStringLiteral("Výpůjčky podle kategorií"), m_categories), 2, 0, 1, 2);
    grid->setColumnStretch(0, 2);
    grid->setColumnStretch(1, 3);
    grid->setRowStretch(0, 3);
    grid->setRowStretch(1, 4);
    grid->setRowStretch(2, 2);

    auto *buttons = new QDialogButtonBox(this);
    QPushButton *print = buttons->addButton(QStringLiteral("&Tisk..."), QDialogButtonBox::ActionRole);
    QPushButton *preview =
        buttons->addButton(QStringLiteral("Ná&hled před tiskem..."), QDialogButtonBox::ActionRole);
    QPushButton *html = buttons->addButton(QStringLiteral("Do &HTML..."), QDialogButtonBox::ActionRole);
    QPushButton *csv = buttons->addButton(QStringLiteral("Do &CSV..."), QDialogButtonBox::ActionRole);
    QPushButton *close = buttons->addButton(QStringLiteral("&Zavřít"), QDialogButtonBox::RejectRole);
    close->setDefault(true);
    connect(print, &QPushButton::clicked, this, &CStatisticsView::print);
    connect(preview, &QPushButton::clicked, this, &CStatisticsView::preview);
    connect(html, &QPushButton::clicked, this, &CStatisticsView::exportHtml);
    connect(csv, &QPushButton::clicked, this, &CStatisticsView::exportCsv);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(heading);
    layout->addLayout(grid, 1);
    layout->addWidget(buttons);
    resize(1000, 780);
}

void CStatisticsView::print()
{
    QPrinter &printer = programPrinter();
    printer.setDocName(statisticsTitle(m_stats.year));
    QPrintDialog dialog(&printer, this);
    dialog.setWindowTitle(QStringLiteral("Tisk"));
    if (dialog.exec() != QDialog::Accepted)
        return;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    printStatistics(&printer, m_stats, m_library, today());
    QApplication::restoreOverrideCursor();
}

void CStatisticsView::preview()
{
    QPrinter &printer = programPrinter();
    printer.setDocName(statisticsTitle(m_stats.year));
    QPrintPreviewDialog dialog(&printer, this);
    dialog.setWindowTitle(QStringLiteral("Náhled před tiskem – %1").arg(statisticsTitle(m_stats.year)));
    connect(&dialog, &QPrintPreviewDialog::paintRequested, &dialog,
            [this](QPrinter *p) { printStatistics(p, m_stats, m_library, today()); });
    dialog.resize(900, 1000);
    dialog.exec();
}

bool CStatisticsView::save(const QString &filter, const QString &suffix, const QByteArray &content)
{
    SaveFileRequest request;
    request.directory = exportDirectory();
    request.title = QStringLiteral("Zadejte jméno výstupního souboru");
    request.filter = filter;
    request.defaultName = QStringLiteral("statistika-%1.%2").arg(m_stats.year).arg(suffix);
    request.defaultSuffix = suffix;
    const QString path = askSaveFile(this, request);
    if (path.isEmpty())
        return false;
    const SafeFile::Result written = SafeFile::writeAll(path, content);
    if (!written.ok()) {
        RvMessageBox(statisticsTitle(m_stats.year),
                     QStringLiteral("Soubor %1 se nepodařilo zapsat.").arg(path), MessageKind::Error,
                     ButtonsOk);
        return false;
    }
    return true;
}

bool CStatisticsView::exportHtml()
{
    return save(QStringLiteral("WWW stránky v HTML (*.html)"), QStringLiteral("html"),
                statisticsHtml(m_stats, m_library, loansChartDataUrl(m_stats)).toUtf8());
}

bool CStatisticsView::exportCsv()
{
    return save(QStringLiteral("Soubory CSV (*.csv)"), QStringLiteral("csv"),
                statisticsCsv(m_stats).toUtf8());
}

void runStatistics(QWidget *parent)
{
    const std::optional<int> year = askStatisticsYear(parent);
    if (!year)
        return;
    AnnualStatistics stats;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const int message = computeAnnualStatistics(*year, &stats);
    QApplication::restoreOverrideCursor();
    if (message != 0) {
        showMessage(message);
        return;
    }
    CStatisticsView view(stats, AppState::instance().settings.userName, parent);
    view.exec();
}
