#include "reports/protocolcore.h"

#include "data/database.h"
#include "data/recordsets.h"
#include "data/statements.h"
#include "reports/reportcore.h"

#include <algorithm>
#include <new>

namespace {

// Thrown when a row that a protocol follows to is missing.
struct IntegrityFault
{};

void openBook(CSetKnihy &knihy, qint32 id)
{
    knihy.open(QString::asprintf(Stmt::KnihyById, id));
    if (knihy.isEOF() && knihy.isBOF())
        throw IntegrityFault{};
}

void openClient(CSetLide &lide, qint32 id)
{
    lide.open(QString::asprintf(Stmt::LideById, id));
    if (lide.isEOF() && lide.isBOF())
        throw IntegrityFault{};
}

QString personName(const CSetLide &lide)
{
    return lide.m_PRIJMENI + QLatin1Char(' ') + lide.m_JMENO;
}

// Reads a loan with the given statement; false when the number has no rows.
bool readLoan(const char *statement, qint32 number, LoanProtocol *out)
{
    *out = LoanProtocol{};
    CSetVypujcky vypujcky;
    vypujcky.open(QString::asprintf(statement, number));
    if (vypujcky.isEOF() && vypujcky.isBOF())
        return false;
    out->number = number;
    out->date = vypujcky.m_DATUM_PUJCKY;
    CSetLide lide;
    openClient(lide, vypujcky.m_ID_LIDE_VYPUJCKY);
    out->client = clientLabel(lide.m_KOD, lide.m_PRIJMENI, lide.m_JMENO);
    for (; !vypujcky.isEOF(); vypujcky.moveNext()) {
        CSetKnihy knihy;
        openBook(knihy, vypujcky.m_ID_KNIHY_VYPUJCKY);
        out->rows.append(
            {knihy.m_KOD, knihy.m_NAZEV, knihy.m_AUTOR, vypujcky.m_DATUM_MAX, knihy.m_ID_KNIHY_KNIHY});
    }
    return true;
}

bool readReturn(const char *statement, qint32 number, ReturnProtocol *out)
{
    *out = ReturnProtocol{};
    CSetVraceni vraceni;
    vraceni.open(QString::asprintf(statement, number));
    if (vraceni.isEOF() && vraceni.isBOF())
        return false;
    out->number = number;
    out->date = vraceni.m_DATUM_VRACENI;
    for (; !vraceni.isEOF(); vraceni.moveNext()) {
        CSetKnihy knihy;
        openBook(knihy, vraceni.m_ID_KNIHY_VRACENI);
        CSetLide lide;
        openClient(lide, vraceni.m_ID_LIDE_VRACENI);
        ReturnProtocolRow row;
        row.bookCode = knihy.m_KOD;
        row.bookTitle = knihy.m_NAZEV;
        row.clientCode = lide.m_KOD;
        row.clientName = personName(lide);
        row.bookId = knihy.m_ID_KNIHY_KNIHY;
        row.loanDate = vraceni.m_DATUM_PUJCKY;
        if (vraceni.m_OMEZOVAT && vraceni.m_DATUM_VRACENI > vraceni.m_DATUM_VRACENI_MAX)
            row.lateness = vraceni.m_DATUM_VRACENI - vraceni.m_DATUM_VRACENI_MAX;
        out->rows.append(row);
    }
    return true;
}

template <typename Read> int guarded(Read read, int notFound)
{
    try {
        return read() ? 0 : notFound;
    } catch (const IntegrityFault &) {
        return 108;
    } catch (const DbError &e) {
        logDbError(e);
        return 109;
    } catch (const std::bad_alloc &) {
        return 49;
    }
}

} // namespace

int prepareLoanProtocol(qint32 loanNumber, LoanProtocol *out)
{
    const int message = guarded([&] { return readLoan(Stmt::ProtocolLoan, loanNumber, out); }, 107);
    if (message != 0)
        *out = LoanProtocol{};
    return message;
}

int prepareReturnProtocol(qint32 returnNumber, ReturnProtocol *out)
{
    const int message = guarded([&] { return readReturn(Stmt::ProtocolReturn, returnNumber, out); }, 116);
    if (message != 0)
        *out = ReturnProtocol{};
    return message;
}

int loadLoanForChooser(qint32 loanNumber, LoanProtocol *out)
{
    const int message = guarded([&] { return readLoan(Stmt::ProtocolLoanChooser, loanNumber, out); }, 111);
    // The chooser's list gets every row at its top, so it shows the books ascending.
    std::reverse(out->rows.begin(), out->rows.end());
    if (message != 0)
        *out = LoanProtocol{};
    return message;
}

int loadReturnForChooser(qint32 returnNumber, ReturnProtocol *out)
{
    const int message =
        guarded([&] { return readReturn(Stmt::ProtocolReturnChooser, returnNumber, out); }, 111);
    std::reverse(out->rows.begin(), out->rows.end());
    if (message != 0)
        *out = ReturnProtocol{};
    return message;
}

int listLoansInPeriod(DateNumber from, DateNumber to, QList<LoanListEntry> *out)
{
    out->clear();
    const int message = guarded(
        [&] {
            CSetVypujcky vypujcky;
            vypujcky.open(QString::asprintf(Stmt::ProtocolLoanPeriod, from, to));
            for (; !vypujcky.isEOF(); vypujcky.moveNext()) {
                if (!out->isEmpty() && out->last().number == vypujcky.m_ID_VYPUJCKY_VYPUJCKY) {
                    ++out->last().books;
                    continue;
                }
                CSetLide lide;
                openClient(lide, vypujcky.m_ID_LIDE_VYPUJCKY);
                out->append({vypujcky.m_ID_VYPUJCKY_VYPUJCKY, lide.m_KOD, personName(lide),
                             vypujcky.m_DATUM_PUJCKY, 1});
            }
            return !out->isEmpty();
        },
        113);
    if (message != 0)
        out->clear();
    return message;
}

int listReturnsInPeriod(DateNumber from, DateNumber to, QList<ReturnListEntry> *out)
{
    out->clear();
    const int message = guarded(
        [&] {
            CSetVraceni vraceni;
            vraceni.open(QString::asprintf(Stmt::ProtocolReturnPeriod, from, to));
            for (; !vraceni.isEOF(); vraceni.moveNext()) {
                if (!out->isEmpty() && out->last().number == vraceni.m_ID_VRACENI_VRACENI) {
                    ++out->last().books;
                    continue;
                }
                out->append({vraceni.m_ID_VRACENI_VRACENI, vraceni.m_DATUM_VRACENI, 1});
            }
            return !out->isEmpty();
        },
        117);
    if (message != 0)
        out->clear();
    return message;
}

QString protocolDueText(DateNumber due)
{
    return due == NoDate ? QStringLiteral("bez omezení") : dateText(due);
}

QString protocolLatenessText(qint32 lateness)
{
    return lateness < 0 ? QString() : QString::number(lateness);
}
