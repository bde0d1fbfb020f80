#pragma once

#include <QAbstractTableModel>
#include <QList>
#include <QStringList>

class QComboBox;
class QDialogButtonBox;
class QPushButton;
class QTableView;
class QWidget;

// The rows of a register list: the texts of each column and the identifier the row stands for.
// Rows are added at the top, as the lists of the program always fill.
class CRegisterListModel final : public QAbstractTableModel
{
    Q_OBJECT

public:
    struct Row
    {
        QStringList cells;
        qint32 id = -1;
        qint32 extra = -1; // a second number the owner keeps with the row
    };
    static constexpr int IdRole = Qt::UserRole + 1;

    explicit CRegisterListModel(const QStringList &headers, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    void clear();
    void insertAtTop(const Row &row);
    void setRows(const QList<Row> &rows);
    QList<Row> takeRows(const QList<int> &rowNumbers);
    const Row &row(int r) const { return m_rows.at(r); }
    Row &row(int r) { return m_rows[r]; }
    const QList<Row> &rows() const { return m_rows; }

private:
    QStringList m_headers;
    QList<Row> m_rows;
};

// A list in the look of the program's register lists: grid lines, whole rows selected, nothing
// editable, the columns at least the given widths.
void setUpRegisterList(QTableView *view, const QList<int> &minimumWidths, bool multiSelection = false);

// Fills the combo with the categories in use, sorted by name, each carrying its identifier;
// nothing is selected. Throws DbError.
void fillCategoryCombo(QComboBox *combo);

// The buttons of the register dialogs: an accept button with the OK icon and a cancel button
// with the cancel icon.
QPushButton *makeAcceptButton(const QString &text, QWidget *parent);
QPushButton *makeCancelButton(const QString &text, QWidget *parent);

// The wait cursor for the length of a scope.
class WaitCursor final
{
public:
    WaitCursor();
    ~WaitCursor();
    Q_DISABLE_COPY_MOVE(WaitCursor)
};
