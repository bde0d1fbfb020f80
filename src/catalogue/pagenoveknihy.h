#pragma once

#include "circulation/entrypage.h"

class BookForm;
class QPushButton;

// "Nové knihy": one newly acquired book at a time; "OK" checks and writes it, and the page is at
// once ready for the next one with the accession number advanced.
class CPageNoveknihy final : public CEntryPage
{
    Q_OBJECT

public:
    explicit CPageNoveknihy(QWidget *parent = nullptr);
    QString tabTitle() const override { return QStringLiteral("Nové knihy"); }

    void onActivate() override;
    void onDeactivate() override;
    void categoriesChanged() override;
    int historySlot(const QWidget *edit) const override;
    bool insertHistory(CRvEdit *edit) override;

    // A category was created while this page is active: offer and select it (message 7 when it
    // cannot be put into the list).
    // A category made by "Nová kategorie..." while this page is active: added to the combo,
    // selected, the focus to the publisher. False when it could not be added.
    bool categoryAdded(qint32 id, const QString &name);
    bool categoryAdded(const QString &name) override;
    bool categoryRenamed(qint32 id, const QString &oldName, const QString &newName) override;
    bool categoryRemoved(const QString &name) override;

    // "OK": returns true when the book was written.
    bool save();
    // "Storno".
    void reset();

    BookForm *form() const { return m_form; }
    QPushButton *okButton() const { return m_ok; }

private:
    void clearPage(bool full);
    void proposeAccession();
    void historyRequested(QWidget *edit);

    BookForm *m_form = nullptr;
    QPushButton *m_newCategory = nullptr;
    QPushButton *m_ok = nullptr;
    QPushButton *m_cancel = nullptr;
};
