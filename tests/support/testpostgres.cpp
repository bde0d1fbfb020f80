#include "support/testpostgres.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>
#include <QTemporaryDir>
#include <QUrl>

#include <cstdlib>
#include <memory>

namespace TestPostgres {
namespace {

struct Server
{
    QString socketDir;
    QString failure;
    bool ownCluster = false;
    QStringList databases;
    int serial = 0;
};

Server *theServer = nullptr;

QString script()
{
    return QStringLiteral(FOLIVO_SOURCE_DIR "/scripts/pg-cluster.sh");
}

// Runs on the admin connection to the "postgres" database; the connection is dropped again.
bool runAdmin(const QString &sql, QString *error)
{
    const QString name = QStringLiteral("folivo-test-admin");
    bool ok = false;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), name);
        db.setHostName(theServer->socketDir);
        db.setUserName(QStringLiteral("folivo"));
        db.setDatabaseName(QStringLiteral("postgres"));
        if (!db.open()) {
            *error = db.lastError().text();
        } else {
            QSqlQuery q(db);
            ok = q.exec(sql);
            if (!ok)
                *error = q.lastError().text();
            db.close();
        }
    }
    QSqlDatabase::removeDatabase(name);
    return ok;
}

// Run when the application object goes, while Qt's database layer is still there; a program that
// has none stops its cluster at exit without dropping the databases (they go with the cluster).
void stopServer()
{
    if (!theServer)
        return;
    QString ignored;
    if (!theServer->socketDir.isEmpty() && QCoreApplication::instance()) {
        for (const QString &db : std::as_const(theServer->databases))
            runAdmin(QStringLiteral("DROP DATABASE IF EXISTS \"%1\" WITH (FORCE)").arg(db), &ignored);
    }
    if (theServer->ownCluster)
        QProcess::execute(script(), {QStringLiteral("stop"), theServer->socketDir});
    delete theServer;
    theServer = nullptr;
}

Server &server()
{
    if (theServer)
        return *theServer;
    theServer = new Server;
    if (QCoreApplication::instance())
        qAddPostRoutine(stopServer);
    else
        std::atexit(stopServer);
    const QString given = qEnvironmentVariable("FOLIVO_TEST_PGHOST");
    if (!given.isEmpty()) {
        theServer->socketDir = given;
    } else if (QSqlDatabase::isDriverAvailable(QStringLiteral("QPSQL"))) {
        // A directory of our own under the system's temporary one, short enough for a socket path.
        QTemporaryDir dir(QDir::tempPath() + QStringLiteral("/folivo-pg-XXXXXX"));
        dir.setAutoRemove(false);
        QProcess start;
        start.start(script(), {QStringLiteral("start"), dir.path()});
        start.waitForFinished(120000);
        if (start.exitStatus() == QProcess::NormalExit && start.exitCode() == 0) {
            theServer->socketDir = dir.path();
            theServer->ownCluster = true;
        } else {
            theServer->failure = QStringLiteral("no PostgreSQL server could be started: ") +
                                 QString::fromLocal8Bit(start.readAllStandardError()).trimmed();
            QDir(dir.path()).removeRecursively();
        }
    } else {
        theServer->failure = QStringLiteral("Qt's PostgreSQL driver (libqt6sql6-psql) is not installed");
    }
    return *theServer;
}

} // namespace

bool available(QString *why)
{
    Server &s = server();
    if (why)
        *why = s.failure;
    return !s.socketDir.isEmpty();
}

QString createDatabase(const QString &tag)
{
    Server &s = server();
    if (s.socketDir.isEmpty())
        return QString();
    QString safeTag;
    for (QChar c : tag.toLower())
        safeTag += (c.isLetterOrNumber() && c.unicode() < 128) ? c : QChar(u'_');
    const QString name = QStringLiteral("t_%1_%2_%3")
                             .arg(safeTag.left(30))
                             .arg(QCoreApplication::applicationPid())
                             .arg(++s.serial);
    QString error;
    if (!runAdmin(QStringLiteral("CREATE DATABASE \"%1\" TEMPLATE template0 ENCODING 'UTF8' "
                                 "LC_COLLATE 'C.UTF-8' LC_CTYPE 'C.UTF-8'")
                      .arg(name),
                  &error)) {
        qWarning("could not make a test database: %s", qPrintable(error));
        return QString();
    }
    s.databases << name;
    return QStringLiteral("postgresql://folivo@/%1?host=%2").arg(name, s.socketDir);
}

QString databaseName(const QString &url)
{
    const QUrl u(url);
    return u.path().mid(1);
}

} // namespace TestPostgres
