#include "app/helpwindow.h"

#include "app/shellicons.h"

#include <QFile>
#include <QPointer>
#include <QTextBrowser>
#include <QVBoxLayout>

static void initHelpResources()
{
    Q_INIT_RESOURCE(help);
}

namespace {
QPointer<CHelpWindow> s_help;
}

CHelpWindow::CHelpWindow(QWidget *parent) : QWidget(parent, Qt::Window)
{
    initHelpResources();
    setWindowTitle(QStringLiteral("Nápověda pro FOLIVO 2.0"));
    setWindowIcon(shellIcon(ShellIcon::Help));
    m_browser = new QTextBrowser(this);
    m_browser->setOpenLinks(true);
    m_browser->setSearchPaths({QStringLiteral(":/help")});
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_browser);
    resize(560, 480);
}

CHelpWindow *CHelpWindow::instance(QWidget *frame)
{
    if (!s_help) {
        s_help = new CHelpWindow(frame);
        s_help->setAttribute(Qt::WA_DeleteOnClose);
    }
    return s_help;
}

QString CHelpWindow::topicUrl(int topic)
{
    initHelpResources();
    const QString page = QStringLiteral(":/help/topic%1.html").arg(topic);
    return QFile::exists(page) ? QStringLiteral("qrc") + page : QStringLiteral("qrc:/help/index.html");
}

void CHelpWindow::showTopic(int topic)
{
    m_browser->setSource(QUrl(topicUrl(topic)));
    show();
    raise();
    activateWindow();
}

void CHelpWindow::showTopicList()
{
    m_browser->setSource(QUrl(QStringLiteral("qrc:/help/index.html")));
    show();
    raise();
    activateWindow();
}
