// Linked into every test program: what a test program needs from its environment is set here,
// before main, so that each program runs the same from the shell as under CTest. A value the
// caller sets explicitly is kept.
#include <QByteArray>
#include <QtGlobal>

namespace {

void setDefault(const char *name, const char *value)
{
    if (!qEnvironmentVariableIsSet(name))
        qputenv(name, QByteArray(value));
}

void prepareTestEnvironment()
{
    setDefault("QT_QPA_PLATFORM", "offscreen"); // no display needed, none used
    setDefault("FOLIVO_TODAY", "2026-03-15");   // the day every test's dates are written around
}

} // namespace

Q_CONSTRUCTOR_FUNCTION(prepareTestEnvironment)
