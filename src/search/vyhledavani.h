#pragma once

#include "app/frameview.h"
#include "search/searchcore.h"

#include <QMap>

class CRvEdit;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QPushButton;
class QScrollArea;
class QTableWidget;

// The advanced search view: a form of criteria over the catalogue. "  Vyhledat" checks the
// criteria, composes one statement and hands it to the report view; the form keeps no results.
class CVyhledavani final : public CFrameView
{
    Q_OBJECT

public:
    explicit CVyhledavani(QWidget *parent = nullptr);

    int viewTarget() const override { return ViewSwitchRequest::SearchView; }
    int helpTopic() const override { return 3; }
    // Every switch to this view prepares the form anew; a failure refuses the switch.
    bool enterView(const ViewSwitchRequest &request) override;
    std::optional<bool> commandEnabled(int command) const override;
    bool runCommand(int command) override;

    // Clears the form and refills the category list with the categories in use. Shows message
    // 105 and returns false when the list cannot be filled.
    bool PrepareSearchForm();
    // Empties every field, checks the "Přesná shoda" boxes, disables the dependent fields and
    // puts the focus on the book code; the category list itself is emptied on request.
    void clearForm(bool emptyCategories);

    // The buttons of the form.
    bool search();         // "  Vyhledat": true when the statement went to the report view
    void cancel();         // "  Storno"
    void addKeyword();     // the add-keyword button
    void removeKeywords(); // the remove-keyword button
    void pickClientCode(); // "Nalistovat"

    // The form as typed.
    SearchCriteria readForm() const;
    // The used flags and converted values of the last search.
    const SearchValues &values() const { return m_values; }

    // The form's controls, for the frame's commands and for tests.
    QWidget *field(SearchField f) const { return m_fields.value(f, nullptr); }
    CRvEdit *edit(SearchField f) const;
    QCheckBox *exactBox(SearchField f) const { return m_exact.value(f, nullptr); }
    QComboBox *categoryCombo() const { return m_category; }
    QTableWidget *keywordList() const { return m_keywords; }
    QCheckBox *considerDiscardBox() const { return m_considerDiscard; }
    QCheckBox *discardedBox() const { return m_discarded; }
    QCheckBox *considerLoanBox() const { return m_considerLoan; }
    QCheckBox *lentBox() const { return m_lent; }
    QPushButton *pickButton() const { return m_pick; }
    QPushButton *searchButton() const { return m_search; }
    QPushButton *cancelButton() const { return m_cancel; }
    QPushButton *addKeywordButton() const { return m_addKeyword; }
    QPushButton *removeKeywordButton() const { return m_removeKeyword; }

private:
    QWidget *buildForm();
    CRvEdit *makeEdit(SearchField f, int type, int maxChars);
    QCheckBox *makeExactBox(SearchField f, const char *fieldLabel);
    QLineEdit *focusedEdit() const;
    void focusField(SearchField f);
    void writeTrimmed(const SearchCriteria &c);
    QStringList chosenKeywords() const;
    void considerDiscardToggled(bool on);
    void discardedToggled(bool on);
    void considerLoanToggled(bool on);
    void lentToggled(bool on);

    QScrollArea *m_scroll = nullptr;
    QMap<SearchField, QWidget *> m_fields;
    QMap<SearchField, QCheckBox *> m_exact;
    QComboBox *m_category = nullptr;
    QTableWidget *m_keywords = nullptr;
    QPushButton *m_addKeyword = nullptr;
    QPushButton *m_removeKeyword = nullptr;
    QCheckBox *m_considerDiscard = nullptr;
    QCheckBox *m_discarded = nullptr;
    QCheckBox *m_considerLoan = nullptr;
    QCheckBox *m_lent = nullptr;
    QPushButton *m_pick = nullptr;
    QPushButton *m_search = nullptr;
    QPushButton *m_cancel = nullptr;
    SearchValues m_values;
};
