#include "data/serveraddress.h"

#include <QDir>
#include <QFile>
#include <QUrl>
#include <QUrlQuery>

namespace {

const QLatin1String Schemes[] = {QLatin1String("postgresql://"), QLatin1String("postgres://")};

QString decoded(const QString &part)
{
    return QUrl::fromPercentEncoding(part.toUtf8());
}

} // namespace

bool ServerAddress::looksLikeServer(const QString &text)
{
    for (QLatin1String scheme : Schemes) {
        if (text.startsWith(scheme, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

std::optional<ServerAddress> ServerAddress::parse(const QString &text, QString *error)
{
    QString rest;
    for (QLatin1String scheme : Schemes) {
        if (text.startsWith(scheme, Qt::CaseInsensitive))
            rest = text.mid(scheme.size());
    }
    if (rest.isNull())
        return std::nullopt;

    ServerAddress address;
    auto fail = [&](const QString &why) {
        if (error)
            *error = why;
        address.databaseName.clear();
        return std::optional<ServerAddress>(address);
    };

    QString query;
    const qsizetype questionMark = rest.indexOf(QLatin1Char('?'));
    if (questionMark >= 0) {
        query = rest.mid(questionMark + 1);
        rest.truncate(questionMark);
    }
    const qsizetype slash = rest.indexOf(QLatin1Char('/'));
    QString authority = slash >= 0 ? rest.left(slash) : rest;
    address.databaseName = slash >= 0 ? decoded(rest.mid(slash + 1)) : QString();

    const qsizetype at = authority.lastIndexOf(QLatin1Char('@'));
    if (at >= 0) {
        const QString userInfo = authority.left(at);
        authority = authority.mid(at + 1);
        if (userInfo.contains(QLatin1Char(':')))
            return fail(
                QStringLiteral("the address holds a password; give it in ~/.pgpass or PGPASSWORD instead"));
        address.user = decoded(userInfo);
    }
    // The port follows the last colon, unless that colon is inside a bracketed IPv6 address.
    const qsizetype colon = authority.lastIndexOf(QLatin1Char(':'));
    if (colon >= 0 && colon > authority.lastIndexOf(QLatin1Char(']'))) {
        bool ok = false;
        address.port = authority.mid(colon + 1).toInt(&ok);
        if (!ok || address.port <= 0 || address.port > 65535)
            return fail(QStringLiteral("the port of the address is not a number from 1 to 65535"));
        authority.truncate(colon);
    }
    if (authority.startsWith(QLatin1Char('[')) && authority.endsWith(QLatin1Char(']')))
        authority = authority.mid(1, authority.size() - 2);
    address.host = decoded(authority);

    const QUrlQuery parameters(query);
    for (const auto &[key, value] : parameters.queryItems(QUrl::FullyDecoded)) {
        if (key == QLatin1String("host")) {
            address.host = value;
        } else if (key == QLatin1String("port")) {
            bool ok = false;
            address.port = value.toInt(&ok);
            if (!ok || address.port <= 0 || address.port > 65535)
                return fail(QStringLiteral("the port of the address is not a number from 1 to 65535"));
        } else if (key == QLatin1String("user")) {
            address.user = value;
        } else if (key == QLatin1String("dbname")) {
            address.databaseName = value;
        } else if (key == QLatin1String("password")) {
            return fail(
                QStringLiteral("the address holds a password; give it in ~/.pgpass or PGPASSWORD instead"));
        }
        // Other libpq parameters (sslmode, connect_timeout, ...) are left to libpq's environment.
    }
    if (address.databaseName.isEmpty())
        return fail(QStringLiteral("the address names no database (postgresql://host/dbname)"));
    return address;
}

QString ServerAddress::toString() const
{
    QString text = QStringLiteral("postgresql://");
    if (!user.isEmpty())
        text += QString::fromUtf8(QUrl::toPercentEncoding(user)) + QLatin1Char('@');
    const bool socket = host.startsWith(QLatin1Char('/'));
    if (!socket)
        text += host.contains(QLatin1Char(':')) ? QLatin1Char('[') + host + QLatin1Char(']') : host;
    if (port > 0)
        text += QLatin1Char(':') + QString::number(port);
    text += QLatin1Char('/') + QString::fromUtf8(QUrl::toPercentEncoding(databaseName));
    if (socket)
        text += QStringLiteral("?host=") + host;
    return text;
}

QSqlDatabase ServerAddress::addConnection(const QString &connectionName) const
{
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), connectionName);
    if (!host.isEmpty())
        db.setHostName(host);
    if (port > 0)
        db.setPort(port);
    if (!user.isEmpty())
        db.setUserName(user);
    db.setDatabaseName(databaseName);
    db.setConnectOptions(QStringLiteral("application_name=Folivo"));
    return db;
}

QString configuredServer(const QString &dataDirectory)
{
    const QString fromEnvironment = qEnvironmentVariable("FOLIVO_DATABASE").trimmed();
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    QFile file(QDir(dataDirectory).filePath(QStringLiteral("Folivo.server")));
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    return QString::fromUtf8(file.readLine(4096)).trimmed();
}
