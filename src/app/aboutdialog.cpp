#include "app/aboutdialog.h"

#include "app/appstate.h"
#include "app/shellicons.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QImageReader>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

CDlgAbout::CDlgAbout(QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("O aplikaci Folivo 2.0"));
    auto *icon = new QLabel(this);
    icon->setPixmap(shellIcon(ShellIcon::Program).pixmap(48, 48));
    auto *title =
        new QLabel(QStringLiteral("<b>Folivo verze 2.0</b><br>Evidence malé knihovny: katalog knih, "
                                  "čtenáři,<br>výpůjčky, vrácení a vyřazování knih."),
                   this);
    m_name = new QLineEdit(AppState::instance().settings.userName, this);
    m_name->setReadOnly(true);
    auto *nameLabel = new QLabel(QStringLiteral("&Uživatel"), this);
    nameLabel->setBuddy(m_name);

    m_picture = new QLabel(this);
    m_picture->setAlignment(Qt::AlignCenter);
    QImageReader reader(QString::fromLatin1(PictureFile));
    reader.setDecideFormatFromContent(true);
    const QImage image = reader.read();
    if (!image.isNull()) {
        m_hasPicture = true;
        QPixmap pm = QPixmap::fromImage(image);
        if (pm.width() > 400 || pm.height() > 300)
            pm = pm.scaled(400, 300, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        m_picture->setPixmap(pm);
    } else {
        m_picture->setPixmap(shellIcon(ShellIcon::Program).pixmap(96, 96));
    }

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    buttons->button(QDialogButtonBox::Ok)->setIcon(shellIcon(ShellIcon::Ok));
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);

    auto *grid = new QGridLayout(this);
    grid->addWidget(icon, 0, 0, Qt::AlignTop);
    grid->addWidget(title, 0, 1, 1, 2);
    grid->addWidget(m_picture, 1, 0, 1, 3);
    grid->addWidget(nameLabel, 2, 0, 1, 1);
    grid->addWidget(m_name, 2, 1, 1, 2);
    grid->addWidget(buttons, 3, 0, 1, 3);
    grid->setColumnStretch(2, 1);
    buttons->button(QDialogButtonBox::Ok)->setFocus();
}
