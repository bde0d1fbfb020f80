#include "app/czechqt.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

bool installCzechQt(QCoreApplication *app)
{
    const QLocale czech(QLocale::Czech, QLocale::CzechRepublic);
    QLocale::setDefault(czech);
    // qtbase holds the texts of the widgets and dialogs the program uses; the translators live
    // as long as the application.
    auto *translator = new QTranslator(app);
    if (!translator->load(czech, QStringLiteral("qtbase"), QStringLiteral("_"),
                          QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        delete translator;
        return false;
    }
    return QCoreApplication::installTranslator(translator);
}
