#pragma once

#include <QDialog>

class QLabel;
class QLineEdit;

// "O aplikaci Folivo 2.0": the program's icon, its name and version, the user's name from the
// settings record and the picture rvmsgbit.dat of the working directory (any image format, read
// by its content; the program's icon stands in when the file is missing or not a picture).
class CDlgAbout final : public QDialog
{
    Q_OBJECT

public:
    static constexpr const char *PictureFile = "rvmsgbit.dat";

    explicit CDlgAbout(QWidget *parent = nullptr);

    QLineEdit *nameField() const { return m_name; }
    bool hasPicture() const { return m_hasPicture; }

private:
    QLineEdit *m_name = nullptr;
    QLabel *m_picture = nullptr;
    bool m_hasPicture = false;
};
