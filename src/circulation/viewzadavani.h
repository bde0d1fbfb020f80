#pragma once

#include "app/frameview.h"
#include "reports/protocolrequest.h"

#include <QTabWidget>

class CEntryPage;
class QScrollArea;

// The sheet of the six working pages; it adds nothing but its identity.
class CSheet final : public QTabWidget
{
    Q_OBJECT

public:
    using QTabWidget::QTabWidget;
};

// The entry view: the sheet of six pages, centred in a scrolling area, routing the navigation,
// edit and history commands to the active page.
class CViewZadavani final : public CFrameView
{
    Q_OBJECT

public:
    enum PageIndex
    {
        Vypujcky = 0,
        Vraceni = 1,
        Noveknihy = 2,
        Vyrazeni = 3,
        Opravy = 4,
        Prohlizeni = 5
    };

    explicit CViewZadavani(QWidget *parent = nullptr);

    int viewTarget() const override { return ViewSwitchRequest::EntryView; }
    bool enterView(const ViewSwitchRequest &request) override;
    void leaveView() override;
    std::optional<bool> commandEnabled(int command) const override;
    bool runCommand(int command) override;
    int helpTopic() const override;

    CSheet *sheet() const { return m_sheet; }
    int activeIndex() const;
    CEntryPage *page(int index) const;
    CEntryPage *activePage() const;
    template <typename T> T *activePageAs() const { return qobject_cast<T *>(activePage()); }
    void setActivePage(int index);

    // Sent by the settings dialog after a save; forwarded to the loans page when it is active.
    void settingsChanged();
    // Sent after books moved between categories; forwarded to the active page.
    void categoriesChanged();

Q_SIGNALS:
    void protocolRequested(const ProtocolRequest &request);

protected:
    void resizeEvent(QResizeEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void pageChanged(int index);
    void placeSheet();

    QScrollArea *m_scroll = nullptr;
    QWidget *m_canvas = nullptr;
    CSheet *m_sheet = nullptr;
    int m_current = -1;
};
