#include "app/shellicons.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QStyle>

namespace {

const QColor Ink(0x33, 0x33, 0x33);
const QColor Paper(0xfb, 0xfb, 0xf4);
const QColor Leaf(0x3c, 0x8d, 0x40);
const QColor Cover(0x8b, 0x3a, 0x2e);

// A closed book with a green leaf on its cover: the program's own sign.
void drawBook(QPainter &p)
{
    p.setPen(QPen(Ink, 1.2));
    p.setBrush(Paper);
    p.drawRect(QRectF(8, 5, 19, 23));
    p.setBrush(Cover);
    p.drawRoundedRect(QRectF(5, 3, 19, 24), 2, 2);
    QPainterPath leaf;
    leaf.moveTo(10, 21);
    leaf.cubicTo(9, 12, 15, 8, 20, 8);
    leaf.cubicTo(20, 15, 17, 21, 10, 21);
    p.setPen(Qt::NoPen);
    p.setBrush(Leaf.lighter(130));
    p.drawPath(leaf);
    p.setPen(QPen(Paper, 1));
    p.drawLine(QPointF(10.5, 20.5), QPointF(18, 11));
}

void drawPage(QPainter &p, const QRectF &r)
{
    p.setPen(QPen(Ink, 1.2));
    p.setBrush(Paper);
    p.drawRect(r);
    p.setPen(QPen(Ink.lighter(200), 1));
    for (qreal y = r.top() + 5; y < r.bottom() - 2; y += 4)
        p.drawLine(QPointF(r.left() + 3, y), QPointF(r.right() - 3, y));
}

void draw(ShellIcon kind, QPainter &p)
{
    switch (kind) {
    case ShellIcon::Program:
    case ShellIcon::Entry:
        drawBook(p);
        break;
    case ShellIcon::Print:
        p.setPen(QPen(Ink, 1.2));
        drawPage(p, QRectF(9, 3, 14, 12));
        p.setPen(QPen(Ink, 1.2));
        p.setBrush(QColor(0xb0, 0xb4, 0xbc));
        p.drawRoundedRect(QRectF(4, 13, 24, 11), 2, 2);
        p.setBrush(Paper);
        p.drawRect(QRectF(9, 20, 14, 8));
        break;
    case ShellIcon::Cut:
        p.setPen(QPen(Ink, 2));
        p.drawLine(QPointF(9, 4), QPointF(21, 20));
        p.drawLine(QPointF(23, 4), QPointF(11, 20));
        p.setBrush(Qt::NoBrush);
        p.setPen(QPen(Cover, 2));
        p.drawEllipse(QPointF(9, 24), 4, 4);
        p.drawEllipse(QPointF(23, 24), 4, 4);
        break;
    case ShellIcon::Copy:
        drawPage(p, QRectF(4, 3, 15, 19));
        drawPage(p, QRectF(13, 10, 15, 19));
        break;
    case ShellIcon::Paste:
        p.setPen(QPen(Ink, 1.2));
        p.setBrush(QColor(0xc8, 0x9a, 0x5a));
        p.drawRoundedRect(QRectF(5, 5, 18, 23), 2, 2);
        p.setBrush(QColor(0xb0, 0xb4, 0xbc));
        p.drawRect(QRectF(10, 3, 8, 5));
        drawPage(p, QRectF(13, 12, 15, 17));
        break;
    case ShellIcon::Search:
        p.setPen(QPen(Ink, 2.5));
        p.setBrush(QColor(0xd8, 0xea, 0xf8));
        p.drawEllipse(QPointF(13, 13), 8, 8);
        p.setPen(QPen(Cover, 4, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(QPointF(19, 19), QPointF(27, 27));
        break;
    case ShellIcon::Report:
        drawPage(p, QRectF(6, 3, 20, 26));
        p.setPen(QPen(Leaf, 2));
        p.drawLine(QPointF(9, 8), QPointF(23, 8));
        break;
    case ShellIcon::Lock:
        p.setPen(QPen(Ink, 2.5));
        p.setBrush(Qt::NoBrush);
        p.drawRoundedRect(QRectF(10, 4, 12, 14), 6, 6);
        p.setPen(QPen(Ink, 1.2));
        p.setBrush(QColor(0xd9, 0xa4, 0x1e));
        p.drawRoundedRect(QRectF(6, 13, 20, 15), 2, 2);
        p.setBrush(Ink);
        p.drawEllipse(QPointF(16, 20), 2, 2);
        break;
    case ShellIcon::Ok:
        p.setPen(QPen(Leaf, 4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p.drawPolyline(QPolygonF({QPointF(6, 17), QPointF(13, 24), QPointF(26, 8)}));
        break;
    case ShellIcon::Cancel:
        p.setPen(QPen(Cover, 4, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(QPointF(8, 8), QPointF(24, 24));
        p.drawLine(QPointF(24, 8), QPointF(8, 24));
        break;
    default:
        break;
    }
}

QIcon painted(ShellIcon kind)
{
    QIcon icon;
    for (int size : {16, 24, 32, 48}) {
        QPixmap pm(size, size);
        pm.fill(Qt::transparent);
        QPainter p(&pm);
        p.setRenderHint(QPainter::Antialiasing);
        p.scale(size / 32.0, size / 32.0);
        draw(kind, p);
        p.end();
        icon.addPixmap(pm);
    }
    return icon;
}

QIcon standard(QStyle::StandardPixmap sp)
{
    return QApplication::style()->standardIcon(sp);
}

} // namespace

QIcon shellIcon(ShellIcon kind)
{
    switch (kind) {
    case ShellIcon::Program:
    case ShellIcon::Entry:
    case ShellIcon::Report:
    case ShellIcon::Ok:
    case ShellIcon::Cancel:
        return painted(kind);
    case ShellIcon::Print:
        return QIcon::fromTheme(QStringLiteral("document-print"), painted(kind));
    case ShellIcon::Cut:
        return QIcon::fromTheme(QStringLiteral("edit-cut"), painted(kind));
    case ShellIcon::Copy:
        return QIcon::fromTheme(QStringLiteral("edit-copy"), painted(kind));
    case ShellIcon::Paste:
        return QIcon::fromTheme(QStringLiteral("edit-paste"), painted(kind));
    case ShellIcon::Search:
        return QIcon::fromTheme(QStringLiteral("edit-find"), painted(kind));
    case ShellIcon::Lock:
        return QIcon::fromTheme(QStringLiteral("system-lock-screen"), painted(kind));
    case ShellIcon::Settings:
        return QIcon::fromTheme(QStringLiteral("preferences-system"),
                                standard(QStyle::SP_FileDialogDetailedView));
    case ShellIcon::First:
        return standard(QStyle::SP_MediaSkipBackward);
    case ShellIcon::Previous:
        return standard(QStyle::SP_MediaSeekBackward);
    case ShellIcon::Next:
        return standard(QStyle::SP_MediaSeekForward);
    case ShellIcon::Last:
        return standard(QStyle::SP_MediaSkipForward);
    case ShellIcon::Help:
        return standard(QStyle::SP_DialogHelpButton);
    case ShellIcon::About:
        return standard(QStyle::SP_MessageBoxInformation);
    }
    return {};
}
