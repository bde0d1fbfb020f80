#include "app/settings.h"

#include "app/cp1250.h"

#include <QFile>
#include <QSaveFile>
#include <QtEndian>

namespace {

constexpr std::array<qint32, SettingsRecord::MaxPassword> Multipliers = {7,  13, 17, 19, 23, 29, 31, 37,
                                                                         41, 43, 47, 53, 59, 61, 67, 71};

template <typename T> void put(QByteArray &b, int offset, T value)
{
    qToLittleEndian<T>(value, b.data() + offset);
}

template <typename T> T get(const QByteArray &b, int offset)
{
    return qFromLittleEndian<T>(b.constData() + offset);
}

qint32 charCode(const QString &text, int index)
{
    const QByteArray bytes = toCp1250(text.mid(index, 1));
    return bytes.isEmpty() ? 0 : qint32(static_cast<signed char>(bytes.at(0)));
}

} // namespace

const char *const DefaultPassword = "klic";

QByteArray SettingsRecord::toBytes() const
{
    QByteArray b(Size, '\0');
    put<quint32>(b, 0, HeadMark);
    put<quint16>(b, 4, loanProtocol);
    put<quint16>(b, 6, returnProtocol);
    put<quint32>(b, 8, passwordAtStart);
    put<quint32>(b, 12, lockAllowed);
    put<quint16>(b, 16, loanLength);
    put<quint16>(b, 18, 0);
    put<quint32>(b, 20, loanDays);
    put<quint16>(b, 24, reportSize);
    put<quint16>(b, 26, passwordLength);
    for (int i = 0; i < MaxPassword; ++i)
        put<qint32>(b, 28 + 4 * i, password[i]);
    const QByteArray name = toCp1250(userName).left(NameBytes);
    b.replace(92, name.size(), name);
    put<quint32>(b, 156, 0);
    put<quint32>(b, 160, TailMark);
    return b;
}

std::optional<SettingsRecord> SettingsRecord::fromBytes(const QByteArray &b)
{
    if (b.size() != Size || get<quint32>(b, 0) != HeadMark || get<quint32>(b, 160) != TailMark)
        return std::nullopt;
    SettingsRecord r;
    r.loanProtocol = get<quint16>(b, 4);
    r.returnProtocol = get<quint16>(b, 6);
    r.passwordAtStart = get<quint32>(b, 8);
    r.lockAllowed = get<quint32>(b, 12);
    r.loanLength = get<quint16>(b, 16);
    r.loanDays = get<quint32>(b, 20);
    r.reportSize = get<quint16>(b, 24);
    r.passwordLength = get<quint16>(b, 26);
    for (int i = 0; i < MaxPassword; ++i)
        r.password[i] = get<qint32>(b, 28 + 4 * i);
    QByteArray name = b.mid(92, NameBytes);
    const qsizetype zero = name.indexOf('\0');
    if (zero >= 0)
        name.truncate(zero);
    r.userName = fromCp1250(name);
    return r;
}

std::optional<SettingsRecord> SettingsRecord::read(const QString &path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return std::nullopt;
    // The record is the file's first 164 bytes; whatever follows them is not read, so a longer
    // file with sound marks is a record, and only a shorter one or one with bad marks is not.
    return fromBytes(f.read(Size));
}

bool SettingsRecord::write(const QString &path) const
{
    QSaveFile f(path);
    if (!f.open(QIODevice::WriteOnly))
        return false;
    const QByteArray b = toBytes();
    if (f.write(b) != b.size())
        return false;
    return f.commit();
}

void encodePassword(SettingsRecord &record, const QString &password)
{
    QString text = password;
    if (text.size() < 3 || text.size() > SettingsRecord::MaxPassword)
        text = QString::fromLatin1(DefaultPassword);
    const int len = int(text.size());
    record.passwordLength = quint16(len);
    for (int i = 0; i < len; ++i) {
        // The 16th position takes the 14th character.
        const int source = (i == SettingsRecord::MaxPassword - 1) ? 13 : i;
        record.password[i] = charCode(text, source) * Multipliers[i];
    }
}

bool checkPassword(const SettingsRecord &record, const QString &password)
{
    if (record.passwordLength < 3 || record.passwordLength > SettingsRecord::MaxPassword ||
        password.size() != record.passwordLength)
        return false;
    for (int i = 0; i < record.passwordLength; ++i)
        if (charCode(password, i) * Multipliers[i] != record.password[i])
            return false;
    return true;
}
