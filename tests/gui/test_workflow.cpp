// The areas of the program working together in one frame, as the librarian meets them: the
// register commands reach the page that is shown, and a restored backup reaches the view it was
// started from.
#include "app/appstate.h"
#include "app/commands.h"
#include "app/mainframe.h"
#include "app/rvedit.h"
#include "backup/backupdialogs.h"
#include "catalogue/bookform.h"
#include "catalogue/pagenoveknihy.h"
#include "catalogue/pageprohlizeni.h"
#include "circulation/pagevypujcky.h"
#include "circulation/viewzadavani.h"
#include "gui/features.h"
#include "registers/categorydialogs.h"
#include "registers/clientdialogs.h"
#include "reports/reportmodel.h"
#include "reports/sestavaview.h"
#include "search/vyhledavani.h"
#include "support/guitestsupport.h"
#include "support/testsupport.h"

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QTimer>
#include <QtTest>

#include <functional>
#include <memory>

class TestWorkflow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void renamedCategoryOnTheBrowsePage();
    void restoredDataReachTheirViews();

private:
    CViewZadavani *entry() const
    {
        return qobject_cast<CViewZadavani *>(m_frame->view(ViewSwitchRequest::EntryView));
    }

    std::unique_ptr<TestLibrary> m_lib;
    std::unique_ptr<MessageRecorder> m_messages;
    std::unique_ptr<CMainFrame> m_frame;
};

void TestWorkflow::init()
{
    m_lib = std::make_unique<TestLibrary>();
    m_messages = std::make_unique<MessageRecorder>();
    m_frame = std::make_unique<CMainFrame>();
    installFeatures(*m_frame);
    QVERIFY(m_frame->switchView(ViewSwitchRequest{}));
    m_frame->show();
}

void TestWorkflow::cleanup()
{
    m_frame.reset();
    m_messages.reset();
    m_lib.reset();
}

void TestWorkflow::renamedCategoryOnTheBrowsePage()
{
    const qint32 beletrie = m_lib->addCategory(QStringLiteral("Beletrie"));
    m_lib->addBook(TestLibrary::BookSpec(QStringLiteral("A1")).in(beletrie));
    entry()->setActivePage(CViewZadavani::Prohlizeni);
    auto *page = entry()->activePageAs<CPageProhlizeni>();
    QCOMPARE(page->form()->categoryName->text(), QStringLiteral("Beletrie"));

    onNextModal<CDlgPrejmenovaniKategorie>([](CDlgPrejmenovaniKategorie *d) {
        d->combo()->setCurrentIndex(d->combo()->findText(QStringLiteral("Beletrie")));
        d->nameEdit()->setText(QStringLiteral("Romány"));
        d->accept();
    });
    m_frame->runCommand(Cmd::RenameCategory);
    QVERIFY(m_messages->numbers().isEmpty());
    QCOMPARE(page->form()->categoryName->text(), QStringLiteral("Romány"));
}

void TestWorkflow::restoredDataReachTheirViews()
{
    m_lib->addBook(QStringLiteral("A1"));
    m_frame->runCommand(Cmd::ReportPresent);
    auto *report = qobject_cast<CSestavaView *>(m_frame->activeView());
    QCOMPARE(report->model()->rowCount(), 1);
    entry()->setActivePage(CViewZadavani::Opravy);

    // The data change under the view, as a restore changes them; the view then runs its report
    // again after telling the user, and the sheet is back on its first page.
    m_lib->addBook(QStringLiteral("A2"));
    Q_EMIT BackupEvents::instance().dataRestored(ViewSwitchRequest::ReportView);
    QCOMPARE(m_messages->shown().size(), 1);
    QCOMPARE(m_messages->lastText(), QString::fromUtf8(CSestavaView::NoticeAfterImport));
    QCOMPARE(m_frame->activeView(), report);
    QCOMPARE(report->model()->rowCount(), 2);
    QCOMPARE(report->title(), QStringLiteral("Knihy právě přítomné v knihovně"));
    QCOMPARE(entry()->activeIndex(), int(CViewZadavani::Vypujcky));

    // The search view reads its categories again.
    m_lib->addCategory(QStringLiteral("Beletrie"));
    m_frame->runCommand(Cmd::ViewSearch);
    auto *search = qobject_cast<CVyhledavani *>(m_frame->activeView());
    auto *categories = qobject_cast<QComboBox *>(search->field(SearchField::Category));
    const int before = categories->count();
    m_lib->addCategory(QStringLiteral("Poezie"));
    Q_EMIT BackupEvents::instance().dataRestored(ViewSwitchRequest::SearchView);
    QCOMPARE(m_messages->shown().size(), 2);
    QCOMPARE(m_messages->lastText(), QString::fromUtf8(CSestavaView::NoticeAfterImport));
    QCOMPARE(m_frame->activeView(), search);
    QCOMPARE(categories->count(), before + 1);
}

QTEST_MAIN(TestWorkflow)
#include "test_workflow.moc"
