#include "robustsupport.h"

#include "data/database.h"

#include <QSqlQuery>
#include <QSqlRecord>

QStringList tableSnapshot()
{
    static const char *const tables[][2] = {
        {"KNIHY", "ID_KNIHY_KNIHY"},
        {"LIDE", "ID_LIDE_LIDE"},
        {"KATEGORIE", "ID_KATEGORIE_KATEGORIE"},
        {"VYPUJCKY", "ID_VYPUJCKY_VYPUJCKY, ID_KNIHY_VYPUJCKY"},
        {"VRACENI", "ID_VRACENI_VRACENI, ID_KNIHY_VRACENI"},
        {"IDS", "ID_KNIHY_FIRSTFREE"},
    };
    QStringList rows;
    for (const auto &t : tables) {
        QSqlQuery q = runSql(QStringLiteral("SELECT * FROM %1 ORDER BY %2")
                                 .arg(QString::fromLatin1(t[0]), QString::fromLatin1(t[1])));
        while (q.next()) {
            QString line = QString::fromLatin1(t[0]);
            const int n = q.record().count();
            for (int i = 0; i < n; ++i) {
                const QVariant v = q.value(i);
                line += QLatin1Char('|');
                line += v.isNull() ? QStringLiteral("NULL") : v.toString();
            }
            rows << line;
        }
    }
    return rows;
}

QString snapshotDifference(const QStringList &before, const QStringList &after)
{
    QString out = QStringLiteral("%1 rows before, %2 after").arg(before.size()).arg(after.size());
    int shown = 0;
    for (const QString &r : before)
        if (!after.contains(r) && shown++ < 3)
            out += QStringLiteral("\n  gone: ") + r.left(200);
    for (const QString &r : after)
        if (!before.contains(r) && shown++ < 6)
            out += QStringLiteral("\n  new:  ") + r.left(200);
    return out;
}
