#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <optional>

// The program's settings, the user's name and the encoded access password: one 164-byte
// little-endian record in Folivo.ini, byte-compatible with the original program's file.
struct SettingsRecord
{
    static constexpr int Size = 164;
    static constexpr quint32 HeadMark = 0x0000FFFF;
    static constexpr quint32 TailMark = 0x0000F00F;
    static constexpr int NameBytes = 64;
    static constexpr int MaxPassword = 16;
    static constexpr const char *FileName = "Folivo.ini";

    enum Protocol : quint16
    {
        PrintAlways = 0,
        PrintOnRequest = 1,
        PrintNever = 2
    };
    enum LoanLength : quint16
    {
        Limit = 0,
        NoLimit = 1
    };
    enum ReportSize : quint16
    {
        ReportNormal = 0,
        ReportMaximised = 1
    };

    quint16 loanProtocol = PrintOnRequest;      // offset 4
    quint16 returnProtocol = PrintOnRequest;    // offset 6
    quint32 passwordAtStart = 0;                // offset 8
    quint32 lockAllowed = 0;                    // offset 12
    quint16 loanLength = Limit;                 // offset 16
    quint32 loanDays = 30;                      // offset 20
    quint16 reportSize = ReportNormal;          // offset 24
    quint16 passwordLength = 0;                 // offset 26
    std::array<qint32, MaxPassword> password{}; // offset 28
    QString userName;                           // offset 92, Windows-1250, zero-filled

    QByteArray toBytes() const;
    // Anything but 164 bytes with both marks counts as no record.
    static std::optional<SettingsRecord> fromBytes(const QByteArray &bytes);
    // The record in the file's first 164 bytes; none when the file is missing, shorter or its
    // marks are wrong. Bytes after the record do not matter.
    static std::optional<SettingsRecord> read(const QString &path);
    bool write(const QString &path) const;
};

// The password is never stored in clear: each character's Windows-1250 byte, taken as a signed
// 8-bit number, times a fixed multiplier of its position. The last position is filled from the
// 14th character but checked against the 16th, so a 16-character password passes a later check
// only when those two characters are equal. A password that is not 3 to 16 characters long is
// replaced by a default word before encoding.
void encodePassword(SettingsRecord &record, const QString &password);
bool checkPassword(const SettingsRecord &record, const QString &password);
extern const char *const DefaultPassword;
