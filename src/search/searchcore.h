#pragma once

#include "data/dates.h"

#include <QString>
#include <QStringList>

#include <optional>

// The fields of the search form, named so that a failed check can say where the focus goes.
enum class SearchField
{
    None,
    Code,
    AccessionFrom,
    AccessionTo,
    Title,
    Author,
    Publisher,
    PriceFrom,
    PriceTo,
    Category,
    AcquiredFrom,
    AcquiredTo,
    Keyword,
    DiscardFrom,
    DiscardTo,
    ClientCode,
};

// What the librarian filled in on the search form, as typed. The four "exact" flags follow the
// "Přesná shoda" boxes, which are checked on an empty form.
struct SearchCriteria
{
    QString code;
    bool exactCode = true;
    QString accessionFrom;
    QString accessionTo;
    QString title;
    bool exactTitle = true;
    QString author;
    bool exactAuthor = true;
    QString publisher;
    bool exactPublisher = true;
    QString priceFrom;
    QString priceTo;
    std::optional<qint32> category; // the chosen category's identifier
    QString acquiredFrom;
    QString acquiredTo;
    QStringList keywords; // the chosen keywords, top row first
    bool considerDiscard = false;
    bool discarded = false;
    QString discardFrom;
    QString discardTo;
    bool considerLoan = false;
    bool lent = false;
    QString clientCode;

    // Blanks at both ends of every text are not part of the criterion.
    void trim();
};

// Which criteria take part in the search, with their values converted from the typed texts.
// Recomputed by every search.
struct SearchValues
{
    bool useCode = false;
    bool useTitle = false;
    bool useAuthor = false;
    bool usePublisher = false;
    bool usePriceFrom = false;
    bool usePriceTo = false;
    bool useAcquiredFrom = false;
    bool useAcquiredTo = false;
    bool useAccessionFrom = false;
    bool useAccessionTo = false;
    bool useCategory = false;
    bool useLoanState = false;
    bool useClient = false;
    bool useDiscardState = false;
    bool useDiscardFrom = false;
    bool useDiscardTo = false;

    double priceFrom = 0;
    double priceTo = 0;
    DateNumber acquiredFrom = NoDate;
    DateNumber acquiredTo = NoDate;
    qint32 accessionFrom = 0;
    qint32 accessionTo = 0;
    qint32 categoryId = -1;
    qint32 clientId = -1;
    DateNumber discardFrom = NoDate;
    DateNumber discardTo = NoDate;
};

// The outcome of a check: 0 when it passed, else the catalogue message to show and the field
// that gets the focus.
struct SearchCheck
{
    int message = 0;
    SearchField field = SearchField::None;
    bool passed() const { return message == 0; }
};

// Trims the criteria (in place, so the form can show what was checked), refuses forbidden
// characters (119), sets the used flags, converts prices (106), looks the client up among the
// shown clients (15; 13 when the database fails), then converts dates and accession numbers
// (106). Stops at the first failure.
SearchCheck ValidateCriteria(SearchCriteria &criteria, SearchValues &values);

// The SELECT over KNIHY for checked criteria, one clause per used criterion in a fixed order.
// The text is in the Jet dialect (LIKE with *), to be run through runJet or a record set.
QString BuildSearchSql(const SearchCriteria &criteria, const SearchValues &values);

// Checks a keyword about to be added to the chosen ones: trims it, then refuses forbidden
// characters (119), an empty text (29), a tilde (44) and a keyword already chosen, whatever its
// letter case (39).
SearchCheck checkNewKeyword(QString &keyword, const QStringList &chosen);

// Where a new keyword goes in the chosen ones, which are kept in ascending order regardless of
// letter case.
qsizetype keywordInsertPosition(const QStringList &chosen, const QString &keyword);
