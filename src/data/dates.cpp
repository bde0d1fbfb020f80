#include "data/dates.h"

#include <QRegularExpression>

#include <cmath>
#include <limits>

DateNumber dateNumberFromDate(const QDate &date)
{
    if (!date.isValid())
        return NoDate;
    return date.year() * 10000 + date.month() * 100 + date.day();
}

QDate dateFromNumber(DateNumber d)
{
    if (d <= 0)
        return {};
    return QDate(d / 10000, (d / 100) % 100, d % 100);
}

QString dateText(DateNumber d)
{
    if (d == NoDate)
        return {};
    return QString::asprintf("%2d.%2d.%4d", d % 100, (d / 100) % 100, d / 10000);
}

QString dateText(const QDate &date)
{
    return QString::asprintf("%2d.%2d.%4d", date.day(), date.month(), date.year());
}

int daysBetween(DateNumber from, DateNumber to)
{
    const QDate a = dateFromNumber(from);
    const QDate b = dateFromNumber(to);
    if (!a.isValid() || !b.isValid())
        return 0;
    return int(a.daysTo(b));
}

QDate parseDate(const QString &text)
{
    static const QRegularExpression re(
        QStringLiteral("^\\s*(\\d{1,2})\\s*\\.\\s*(\\d{1,2})\\s*\\.\\s*(\\d{1,4})\\s*$"));
    const QRegularExpressionMatch m = re.match(text);
    if (!m.hasMatch())
        return {};
    // A year of one or two digits is read as people write it: 0 to 29 in this century, 30 to 99
    // in the last one ("1.3.25" is 2025, "3.4.80" is 1980). A longer year is taken as typed.
    const QString typedYear = m.captured(3);
    int year = typedYear.toInt();
    if (typedYear.size() <= 2)
        year += year < 30 ? 2000 : 1900;
    if (year < 1)
        return {};
    // QDate refuses a day that its month does not have (29.2. outside leap years).
    return QDate(year, m.captured(2).toInt(), m.captured(1).toInt());
}

bool parseWhole(const QString &text, qint32 *value)
{
    static const QRegularExpression re(QStringLiteral("^\\s*([+-]?\\d+)\\s*$"));
    const QRegularExpressionMatch m = re.match(text);
    if (!m.hasMatch())
        return false;
    bool ok = false;
    const qlonglong v = m.captured(1).toLongLong(&ok);
    if (!ok || v < std::numeric_limits<qint32>::min() || v > std::numeric_limits<qint32>::max())
        return false;
    if (value)
        *value = qint32(v);
    return true;
}

bool parseDecimal(const QString &text, double *value)
{
    static const QRegularExpression re(QStringLiteral("^\\s*([+-]?(\\d+([.,]\\d*)?|[.,]\\d+))\\s*$"));
    const QRegularExpressionMatch m = re.match(text);
    if (!m.hasMatch())
        return false;
    QString t = m.captured(1);
    t.replace(QLatin1Char(','), QLatin1Char('.'));
    bool ok = false;
    const double v = t.toDouble(&ok);
    if (!ok || !std::isfinite(v))
        return false;
    if (value)
        *value = v;
    return true;
}

QDate today()
{
    const QByteArray fixed = qgetenv("FOLIVO_TODAY");
    if (!fixed.isEmpty()) {
        const QDate d = QDate::fromString(QString::fromLatin1(fixed), Qt::ISODate);
        if (d.isValid())
            return d;
    }
    return QDate::currentDate();
}
