#pragma once

#include "reports/printlayout.h"

#include <QDialog>

#include <memory>

class QLabel;
class QPrinter;
class QScrollArea;
class PreviewPages;

// The print preview of a document: the pages one below the other, painted only while they are in
// sight (a report of a hundred thousand books has some two and a half thousand pages, and painting
// them all before the first shows would freeze the program for seconds). Its "Tisk..." button
// prints through the print dialog and closes the preview when the job went out.
class PrintPreviewDialog final : public QDialog
{
    Q_OBJECT

public:
    PrintPreviewDialog(QPrinter &printer, const PrintedTable &doc, QWidget *parent = nullptr);
    ~PrintPreviewDialog() override;

    int pageCount() const;
    int currentPage() const; // from 1, the page at the top of the view
    void showPage(int page);
    // How many pages have been painted so far (each is painted once while it stays in the cache).
    int paintedPages() const;

private:
    Q_DISABLE_COPY_MOVE(PrintPreviewDialog)
    void updatePageLabel();
    void zoom(double factor);
    void print();

    QPrinter &m_printer;
    const PrintedTable &m_doc;
    std::unique_ptr<PrintedPages> m_pages;
    QScrollArea *m_scroll = nullptr;
    PreviewPages *m_view = nullptr;
    QLabel *m_pageLabel = nullptr;
};
