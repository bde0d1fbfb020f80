#pragma once

#include <QDate>
#include <QLineEdit>

// The typed edit field of the pages: a line edit that knows what its text should hold (a whole
// number, a decimal number written with a comma or a point, or a date "d.m.yyyy"), reads it back
// as that, and tells its page when Enter is pressed or the field's history is asked for
// (Ctrl+Space).
class CRvEdit : public QLineEdit
{
    Q_OBJECT

public:
    enum ResType
    {
        Text = 0,
        WholeNumber = 1,
        DecimalNumber = 2,
        Date = 6
    };

    explicit CRvEdit(QWidget *parent = nullptr);
    void SetResType(int type) { m_type = type; }
    int resType() const { return m_type; }

    // Each returns true and fills its argument when the text is a valid value of that kind.
    bool GetAsInt(int &value) const;
    bool GetAsLong(qint32 &value) const;
    bool GetAsFloat(float &value) const;
    bool GetAsDouble(double &value) const;
    bool GetAsOleDate(QDate &value) const;

Q_SIGNALS:
    void enterPressed();
    void historyRequested();

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    int m_type = Text;
};
