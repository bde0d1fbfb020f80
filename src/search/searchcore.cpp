#include "search/searchcore.h"

#include "data/checks.h"
#include "data/czechorder.h"
#include "data/database.h"
#include "data/statements.h"

namespace {

constexpr int MsgForbiddenChars = 119;
constexpr int MsgInvalidEntry = 106;
constexpr int MsgClientNotFound = 15;
constexpr int MsgClientsDbError = 13;
constexpr int MsgNoKeyword = 29;
constexpr int MsgTildeInKeyword = 44;
constexpr int MsgKeywordChosen = 39;

SearchCheck fail(int message, SearchField field)
{
    return SearchCheck{message, field};
}

// An exact criterion compares the whole column, any other finds the text anywhere in it.
QString textClause(const char *column, const QString &text, bool exact)
{
    const QByteArray value = text.toUtf8();
    return exact ? QString::asprintf("AND %s = '%s' ", column, value.constData())
                 : QString::asprintf("AND %s LIKE '*%s*' ", column, value.constData());
}

bool readDate(const QString &text, DateNumber *date)
{
    const QDate d = parseDate(text);
    if (!d.isValid())
        return false;
    *date = dateNumberFromDate(d);
    return true;
}

} // namespace

void SearchCriteria::trim()
{
    for (QString *s : {&code, &accessionFrom, &accessionTo, &title, &author, &publisher, &priceFrom, &priceTo,
                       &acquiredFrom, &acquiredTo, &discardFrom, &discardTo, &clientCode})
        *s = s->trimmed();
}

SearchCheck ValidateCriteria(SearchCriteria &c, SearchValues &v)
{
    c.trim();
    v = SearchValues{};

    const std::pair<const QString *, SearchField> pasted[] = {{&c.code, SearchField::Code},
                                                              {&c.title, SearchField::Title},
                                                              {&c.author, SearchField::Author},
                                                              {&c.publisher, SearchField::Publisher},
                                                              {&c.clientCode, SearchField::ClientCode}};
    for (const auto &[text, field] : pasted)
        if (hasForbiddenChars(*text))
            return fail(MsgForbiddenChars, field);

    v.useCode = !c.code.isEmpty();
    v.useTitle = !c.title.isEmpty();
    v.useAuthor = !c.author.isEmpty();
    v.usePublisher = !c.publisher.isEmpty();
    v.usePriceFrom = !c.priceFrom.isEmpty();
    v.usePriceTo = !c.priceTo.isEmpty();
    v.useAcquiredFrom = !c.acquiredFrom.isEmpty();
    v.useAcquiredTo = !c.acquiredTo.isEmpty();
    v.useAccessionFrom = !c.accessionFrom.isEmpty();
    v.useAccessionTo = !c.accessionTo.isEmpty();
    v.useCategory = c.category.has_value();
    v.useLoanState = c.considerLoan && c.lent;
    v.useClient = c.lent && !c.clientCode.isEmpty();
    v.useDiscardState = c.considerDiscard && c.discarded;
    v.useDiscardTo = v.useDiscardState && !c.discardTo.isEmpty();
    v.useDiscardFrom = v.useDiscardState && !c.discardFrom.isEmpty();

    if (v.usePriceTo && !parseDecimal(c.priceTo, &v.priceTo))
        return fail(MsgInvalidEntry, SearchField::PriceTo);
    if (v.usePriceFrom && !parseDecimal(c.priceFrom, &v.priceFrom))
        return fail(MsgInvalidEntry, SearchField::PriceFrom);

    if (v.useCategory)
        v.categoryId = *c.category;

    if (v.useClient) {
        // Only a client still in use can be searched for.
        try {
            QSqlQuery q = runJet(QString::asprintf(Stmt::LideByKodVisible, qUtf8Printable(c.clientCode)));
            if (!q.next())
                return fail(MsgClientNotFound, SearchField::ClientCode);
            v.clientId = q.value(QStringLiteral("ID_LIDE_LIDE")).toInt();
        } catch (const DbError &e) {
            logDbError(e);
            return fail(MsgClientsDbError, SearchField::None);
        }
    }

    if (v.useAcquiredTo && !readDate(c.acquiredTo, &v.acquiredTo))
        return fail(MsgInvalidEntry, SearchField::AcquiredTo);
    if (v.useAcquiredFrom && !readDate(c.acquiredFrom, &v.acquiredFrom))
        return fail(MsgInvalidEntry, SearchField::AcquiredFrom);
    if (v.useAccessionTo && !parseWhole(c.accessionTo, &v.accessionTo))
        return fail(MsgInvalidEntry, SearchField::AccessionTo);
    if (v.useAccessionFrom && !parseWhole(c.accessionFrom, &v.accessionFrom))
        return fail(MsgInvalidEntry, SearchField::AccessionFrom);
    if (v.useDiscardTo && !readDate(c.discardTo, &v.discardTo))
        return fail(MsgInvalidEntry, SearchField::DiscardTo);
    if (v.useDiscardFrom && !readDate(c.discardFrom, &v.discardFrom))
        return fail(MsgInvalidEntry, SearchField::DiscardFrom);
    return {};
}

QString BuildSearchSql(const SearchCriteria &c, const SearchValues &v)
{
    // The clauses always come in this order, prices before the category and "to" before
    // "from"; saved statements and tests compare the text as a whole.
    QString sql = QStringLiteral("SELECT * FROM KNIHY WHERE 1 ");
    if (v.useAuthor)
        sql += textClause("AUTOR", c.author, c.exactAuthor);
    if (v.usePriceTo)
        sql += QString::asprintf("AND CENA <= %f ", v.priceTo);
    if (v.usePriceFrom)
        sql += QString::asprintf("AND CENA >= %f ", v.priceFrom);
    if (v.useCategory)
        sql += QString::asprintf("AND ID_KATEGORIE_KNIHY = %d ", v.categoryId);
    if (v.useCode)
        sql += textClause("KOD", c.code, c.exactCode);
    if (v.useTitle)
        sql += textClause("NAZEV", c.title, c.exactTitle);
    if (v.useAcquiredTo)
        sql += QString::asprintf("AND DATUM_PORIZENI <= %d ", v.acquiredTo);
    if (v.useAcquiredFrom)
        sql += QString::asprintf("AND DATUM_PORIZENI >= %d ", v.acquiredFrom);
    if (v.useAccessionTo)
        sql += QString::asprintf("AND PRIRUSTEK <= %d ", v.accessionTo);
    if (v.useAccessionFrom)
        sql += QString::asprintf("AND PRIRUSTEK >= %d ", v.accessionFrom);
    if (v.usePublisher)
        sql += textClause("VYDAVATEL", c.publisher, c.exactPublisher);
    if (c.considerLoan) {
        if (c.lent) {
            sql += QStringLiteral("AND VYPUJCENO ");
            if (v.useClient)
                sql += QString::asprintf("AND ID_LIDE_KNIHY = %d ", v.clientId);
        } else {
            sql += QStringLiteral("AND NOT VYPUJCENO ");
        }
    }
    if (c.considerDiscard) {
        if (c.discarded) {
            sql += QStringLiteral("AND VYRAZENO ");
            if (v.useDiscardFrom)
                sql += QString::asprintf("AND DATUM_VYRAZENI >= %d ", v.discardFrom);
            if (v.useDiscardTo)
                sql += QString::asprintf("AND DATUM_VYRAZENI <= %d ", v.discardTo);
        } else {
            sql += QStringLiteral("AND NOT VYRAZENO ");
        }
    }
    // Keywords are stored each between tildes, so a keyword matches whole, never as a part of a
    // longer one.
    for (qsizetype i = c.keywords.size() - 1; i >= 0; --i)
        sql += QString::asprintf("AND KLICOVA_SLOVA LIKE '*~%s~*' ", qUtf8Printable(c.keywords.at(i)));
    sql += QStringLiteral(" ORDER BY KNIHY.KOD DESC");
    return sql;
}

SearchCheck checkNewKeyword(QString &keyword, const QStringList &chosen)
{
    keyword = keyword.trimmed();
    if (hasForbiddenChars(keyword))
        return fail(MsgForbiddenChars, SearchField::Keyword);
    if (keyword.isEmpty())
        return fail(MsgNoKeyword, SearchField::Keyword);
    if (keyword.contains(QLatin1Char('~')))
        return fail(MsgTildeInKeyword, SearchField::Keyword);
    if (chosen.contains(keyword, Qt::CaseInsensitive))
        return fail(MsgKeywordChosen, SearchField::Keyword);
    return {};
}

qsizetype keywordInsertPosition(const QStringList &chosen, const QString &keyword)
{
    // Czech order (Č after C, CH after H), letter case aside, whatever the system's language.
    qsizetype pos = 0;
    while (pos < chosen.size() && czechCompare(chosen.at(pos), keyword, Qt::CaseInsensitive) <= 0)
        ++pos;
    return pos;
}
