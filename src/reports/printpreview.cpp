#include "reports/printpreview.h"

#include "reports/printsetup.h"

#include <QCache>
#include <QHBoxLayout>
#include <QLabel>
#include <QPageLayout>
#include <QPaintEvent>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

// The strip of pages inside the scroll area. Its height is that of all pages, but only the pages
// that a paint event touches are painted, each into an image kept in a small cache.
class PreviewPages final : public QWidget
{
public:
    // paper: the whole sheet in the layout's units, relative to the top left of the printable area.
    PreviewPages(const PrintedPages &pages, const QRectF &paper, QWidget *parent)
        : QWidget(parent), m_pages(pages), m_paper(paper)
    {
        m_cache.setMaxCost(6); // a screenful and the neighbours; every page costs one
        setAttribute(Qt::WA_OpaquePaintEvent);
        setScale(0.08);
    }

    double scale() const { return m_scale; }
    void setScale(double scale)
    {
        m_scale = std::clamp(scale, 0.02, 0.5);
        // A widget may be at most 16,777,215 pixels high; a very long document is shown smaller.
        const double fullHeight = Gap + m_pages.pages() * (m_paper.height() * m_scale + Gap);
        if (fullHeight > QWIDGETSIZE_MAX)
            m_scale *= 0.98 * QWIDGETSIZE_MAX / fullHeight;
        m_cache.clear();
        const QSize page = pageSize();
        resize(page.width() + 2 * Gap, Gap + m_pages.pages() * (page.height() + Gap));
        update();
    }
    QSize pageSize() const
    {
        const QSizeF s = m_paper.size() * m_scale;
        return QSize(std::max(1, qRound(s.width())), std::max(1, qRound(s.height())));
    }
    int pageTop(int page) const { return Gap + page * (pageSize().height() + Gap); }
    int pageAt(int y) const
    {
        return std::clamp((y - Gap / 2) / (pageSize().height() + Gap), 0, std::max(0, m_pages.pages() - 1));
    }
    int paintedPages() const { return m_painted; }

protected:
    void paintEvent(QPaintEvent *event) override
    {
        QPainter p(this);
        p.fillRect(event->rect(), QColor(128, 128, 128));
        const QSize size = pageSize();
        const int first = pageAt(event->rect().top());
        const int last = pageAt(event->rect().bottom());
        for (int page = first; page <= last; ++page) {
            const QRect target(Gap, pageTop(page), size.width(), size.height());
            if (target.intersects(event->rect()))
                p.drawImage(target.topLeft(), pageImage(page, size));
        }
    }

private:
    static constexpr int Gap = 12;

    const QImage &pageImage(int page, QSize size)
    {
        if (const QImage *cached = m_cache.object(page))
            return *cached;
        auto *image = new QImage(size * devicePixelRatioF(), QImage::Format_RGB32);
        image->setDevicePixelRatio(devicePixelRatioF());
        image->fill(Qt::white);
        {
            QPainter p(image);
            p.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
            p.scale(m_scale, m_scale);
            p.translate(-m_paper.topLeft());
            m_pages.paintPage(p, page);
        }
        ++m_painted;
        m_cache.insert(page, image);
        return *m_cache.object(page);
    }

    const PrintedPages &m_pages;
    QRectF m_paper;
    double m_scale = 0.08;
    QCache<int, QImage> m_cache;
    int m_painted = 0;
};

PrintPreviewDialog::PrintPreviewDialog(QPrinter &printer, const PrintedTable &doc, QWidget *parent)
    : QDialog(parent), m_printer(printer), m_doc(doc), m_pages(std::make_unique<PrintedPages>(&printer, doc))
{
    setWindowTitle(QStringLiteral("Náhled před tiskem – %1").arg(doc.title));

    auto *printButton = new QPushButton(QStringLiteral("&Tisk..."), this);
    auto *firstButton = new QPushButton(QStringLiteral("|<"), this);
    auto *previousButton = new QPushButton(QStringLiteral("<"), this);
    auto *nextButton = new QPushButton(QStringLiteral(">"), this);
    auto *lastButton = new QPushButton(QStringLiteral(">|"), this);
    auto *zoomInButton = new QPushButton(QStringLiteral("Zvětšit"), this);
    auto *zoomOutButton = new QPushButton(QStringLiteral("Zmenšit"), this);
    auto *closeButton = new QPushButton(QStringLiteral("&Zavřít"), this);
    firstButton->setToolTip(QStringLiteral("První strana"));
    previousButton->setToolTip(QStringLiteral("Předchozí strana"));
    nextButton->setToolTip(QStringLiteral("Další strana"));
    lastButton->setToolTip(QStringLiteral("Poslední strana"));
    m_pageLabel = new QLabel(this);

    auto *bar = new QHBoxLayout;
    bar->addWidget(printButton);
    bar->addSpacing(12);
    bar->addWidget(firstButton);
    bar->addWidget(previousButton);
    bar->addWidget(m_pageLabel);
    bar->addWidget(nextButton);
    bar->addWidget(lastButton);
    bar->addSpacing(12);
    bar->addWidget(zoomInButton);
    bar->addWidget(zoomOutButton);
    bar->addStretch();
    bar->addWidget(closeButton);

    m_scroll = new QScrollArea(this);
    m_scroll->setAlignment(Qt::AlignHCenter);
    m_scroll->setBackgroundRole(QPalette::Dark);
    const QPageLayout page = printer.pageLayout();
    const QRect full = page.fullRectPixels(printer.resolution());
    const QRect printable = page.paintRectPixels(printer.resolution());
    QRectF paper(full);
    paper.translate(-printable.topLeft());
    if (paper.width() < m_pages->pageSize().width() || paper.height() < m_pages->pageSize().height())
        paper = QRectF(QPointF(0, 0), m_pages->pageSize());
    m_view = new PreviewPages(*m_pages, paper, m_scroll);
    m_scroll->setWidget(m_view);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(bar);
    layout->addWidget(m_scroll, 1);

    connect(printButton, &QPushButton::clicked, this, &PrintPreviewDialog::print);
    connect(closeButton, &QPushButton::clicked, this, &QDialog::reject);
    connect(firstButton, &QPushButton::clicked, this, [this] { showPage(1); });
    connect(previousButton, &QPushButton::clicked, this, [this] { showPage(currentPage() - 1); });
    connect(nextButton, &QPushButton::clicked, this, [this] { showPage(currentPage() + 1); });
    connect(lastButton, &QPushButton::clicked, this, [this] { showPage(pageCount()); });
    connect(zoomInButton, &QPushButton::clicked, this, [this] { zoom(1.25); });
    connect(zoomOutButton, &QPushButton::clicked, this, [this] { zoom(0.8); });
    connect(m_scroll->verticalScrollBar(), &QScrollBar::valueChanged, this,
            &PrintPreviewDialog::updatePageLabel);

    resize(900, 1000);
    // A page as wide as the window leaves room for.
    m_view->setScale(double(900 - 90) / std::max(1.0, paper.width()));
    updatePageLabel();
    closeButton->setDefault(true);
}

PrintPreviewDialog::~PrintPreviewDialog() = default;

int PrintPreviewDialog::pageCount() const
{
    return m_pages->pages();
}

int PrintPreviewDialog::currentPage() const
{
    return m_view->pageAt(m_scroll->verticalScrollBar()->value() + m_view->pageSize().height() / 3) + 1;
}

int PrintPreviewDialog::paintedPages() const
{
    return m_view->paintedPages();
}

void PrintPreviewDialog::showPage(int page)
{
    page = std::clamp(page, 1, pageCount());
    m_scroll->verticalScrollBar()->setValue(m_view->pageTop(page - 1) - 6);
    updatePageLabel();
}

void PrintPreviewDialog::updatePageLabel()
{
    m_pageLabel->setText(printPageCounterText(currentPage(), pageCount()));
}

void PrintPreviewDialog::zoom(double factor)
{
    const int page = currentPage();
    m_view->setScale(m_view->scale() * factor);
    showPage(page);
}

void PrintPreviewDialog::print()
{
    QPrintDialog dialog(&m_printer, this);
    dialog.setWindowTitle(QStringLiteral("Tisk"));
    if (dialog.exec() != QDialog::Accepted)
        return;
    if (runPrintJob(this, m_printer, m_doc))
        accept();
}
