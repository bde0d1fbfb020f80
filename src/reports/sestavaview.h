#pragma once

#include "app/frameview.h"

#include <QString>

class CReportModel;
class QLabel;
class QTableView;

// The report view: the list of books of one report with its title and summary lines.
class CSestavaView final : public CFrameView
{
    Q_OBJECT

public:
    // Books move this many rows at a time with "O stránku vpřed" and "O stránku vzad".
    static constexpr int PageStep = 40;

    explicit CSestavaView(QWidget *parent = nullptr);
    int viewTarget() const override { return ViewSwitchRequest::ReportView; }
    int helpTopic() const override { return 5; }

    // The frame's hand-over: the statement, the rows, then the title and the kind.
    bool enterView(const ViewSwitchRequest &request) override;
    void leaveView() override;
    std::optional<bool> commandEnabled(int command) const override;
    bool runCommand(int command) override;

    // Runs m_strSql into the list and sets the summary line.
    void FillReport();
    void clearList();

    // After the data changed under the shown report (a restored backup, an undone discard, done
    // while this view is shown): empties the list, tells the user, runs the same report again and
    // turns the entry sheet to its first page. The notices are the two texts below.
    void refreshAfterChange(const QString &notice);
    static constexpr const char *NoticeAfterImport = "Vzhledem k tomu, že byl právě proveden import dat ze "
                                                     "zálohy,\nbudou data aktualizovány. Tato akce může "
                                                     "chvíli trvat!";
    static constexpr const char *NoticeAfterUndoDiscard =
        "Vzhledem k tomu, že bylo zrušeno vyřazení některé knihy, budou data aktualizovány.\nTato akce může "
        "chvíli "
        "trvat!";

    // Saves the shown report as an HTML page (asks for the file name).
    void exportHtml();
    void printReport();
    void previewReport();

    QString title() const;
    void setTitle(const QString &title);
    QString summary() const;
    void setSummary(const QString &summary);
    int reportKind() const { return m_nReportKind; }
    QString sql() const { return m_strSql; }
    QTableView *list() const { return m_pList; }
    CReportModel *model() const { return m_model; }
    int selectedIndex() const; // -1 when no row is selected
    void selectIndex(int index);

protected:
    void resizeEvent(QResizeEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void openSelectedBook();
    void applyColumnWidths();

    QTableView *m_pList = nullptr;
    QLabel *m_pSummary = nullptr;
    QLabel *m_pTitle = nullptr;
    CReportModel *m_model = nullptr;
    int m_nReportKind = -1;
    QString m_strSql;
};
