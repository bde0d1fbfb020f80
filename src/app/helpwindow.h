#pragma once

#include <QWidget>

class QTextBrowser;

// The program's help: Czech pages shipped with the program, one per topic (1 the program,
// 2 the entry view, 3 the search view, 5 the reports, 7 the menus) and a list of topics.
class CHelpWindow final : public QWidget
{
    Q_OBJECT

public:
    // The one help window, created on first use; it stays open beside the frame.
    static CHelpWindow *instance(QWidget *frame);

    void showTopic(int topic);
    void showTopicList();
    // The page a topic number opens; the list of topics for an unknown number.
    static QString topicUrl(int topic);
    QTextBrowser *browser() const { return m_browser; }

private:
    explicit CHelpWindow(QWidget *parent);
    QTextBrowser *m_browser = nullptr;
};
