#include "cli/demo.h"

#include "data/checks.h"
#include "data/database.h"
#include "data/dates.h"

#include <QDate>
#include <QSet>
#include <QStringList>
#include <QVector>

#include <algorithm>
#include <cmath>
#include <random>

namespace {

const char *const CategoryNames[] = {
    "Beletrie",          "Detektivky",       "Dětská literatura",    "Poezie",   "Historie", "Cestopisy",
    "Naučná literatura", "Sci-fi a fantasy", "Životopisy",           "Kuchařky", "Příroda",  "Umění",
    "Zahrádkaření",      "Pohádky",          "Regionální literatura"};
const char *const RemovedCategoryNames[] = {"Učebnice (staré)", "Časopisy"};

const char *const FirstNames[] = {"Jan",      "Petr",     "Josef",  "Pavel",  "Jiří",  "Martin", "Tomáš",
                                  "Jaroslav", "Miroslav", "Zdeněk", "Václav", "Karel", "Lukáš",  "Ondřej",
                                  "Marie",    "Jana",     "Eva",    "Hana",   "Anna",  "Lenka",  "Kateřina",
                                  "Věra",     "Lucie",    "Alena",  "Petra",  "Jitka", "Zuzana", "Božena"};
const char *const SurnamesMale[] = {"Novák",    "Svoboda", "Novotný", "Dvořák",  "Černý",    "Procházka",
                                    "Kučera",   "Veselý",  "Horák",   "Němec",   "Marek",    "Pospíšil",
                                    "Hájek",    "Jelínek", "Král",    "Růžička", "Beneš",    "Fiala",
                                    "Sedláček", "Doležal", "Zeman",   "Kolář",   "Navrátil", "Čermák",
                                    "Urban",    "Vaněk",   "Blažek",  "Kříž",    "Kovář",    "Bartoš"};
const char *const SurnamesFemale[] = {"Nováková",    "Svobodová",   "Novotná",     "Dvořáková",  "Černá",
                                      "Procházková", "Kučerová",    "Veselá",      "Horáková",   "Němcová",
                                      "Marková",     "Pospíšilová", "Hájková",     "Jelínková",  "Králová",
                                      "Růžičková",   "Benešová",    "Fialová",     "Sedláčková", "Doležalová",
                                      "Zemanová",    "Kolářová",    "Navrátilová", "Čermáková",  "Urbanová",
                                      "Vaňková",     "Blažková",    "Křížová",     "Kovářová",   "Bartošová"};
const char *const Authors[] = {
    "Karel Čapek",         "Božena Němcová",     "Jaroslav Hašek", "Bohumil Hrabal",    "Milan Kundera",
    "Josef Škvorecký",     "Jan Neruda",         "Alois Jirásek",  "Vladislav Vančura", "Jaroslav Seifert",
    "Karel Jaromír Erben", "Ota Pavel",          "Eduard Petiška", "Josef Lada",        "Zdeněk Svěrák",
    "Michal Viewegh",      "Jiří Žáček",         "Petra Braunová", "Ludvík Souček",     "Jules Verne",
    "Agatha Christie",     "Astrid Lindgrenová", "Jack London",    "Karel May",         "Ondřej Sekora",
    "Václav Čtvrtek",      "Jan Werich",         "Radek Malý",     "Iva Procházková",   "Kateřina Tučková",
    "Alena Mornštajnová",  "Jiří Mahen"};
const char *const TitleStart[] = {
    "Babička", "Krakatit",      "Dobrý voják", "Ostře sledované", "Žert",     "Zbabělci",
    "Povídky", "Staré pověsti", "Markéta",     "Kytice",          "Zlatý",    "Tajemství",
    "Cesta",   "Příběh",        "Dům",         "Stíny",           "Pohádky",  "Deník",
    "Kniha",   "Písně",         "Návrat",      "Zahrada",         "Řeka",     "Hory",
    "Město",   "Ďáblova",       "Čarovná",     "Ztracená",        "Poslední", "Modrá"};
const char *const TitleEnd[] = {
    "",          "z Podskalí", "o lásce",    "na Vltavě",   "pod Řípem", "malostranské", "české",
    "a noc",     "v zimě",     "ze Šumavy",  "pro děti",    "o koni",    "za oponou",    "u řeky",
    "bez konce", "první",      "na cestách", "žlutého psa", "v Praze",   "dědečka"};
const char *const Publishers[] = {
    "Albatros", "Odeon",    "Mladá fronta", "Argo",  "Host",    "Euromedia", "Československý spisovatel",
    "Vyšehrad", "Academia", "Portál",       "Grada", "Fragment"};
const char *const Keywords[] = {"láska",    "válka",     "dětství", "příroda", "humor",  "historie",
                                "detektiv", "Praha",     "zvířata", "vesnice", "moře",   "hory",
                                "rodina",   "cestování", "pohádka", "poezie",  "vesmír", "řemeslo"};

template <size_t N> QString pick(std::mt19937 &rng, const char *const (&list)[N])
{
    return QString::fromUtf8(list[std::uniform_int_distribution<size_t>(0, N - 1)(rng)]);
}

int uniform(std::mt19937 &rng, int lo, int hi)
{
    return std::uniform_int_distribution<int>(lo, hi)(rng);
}

struct Book
{
    qint32 id;
    qint32 category;
    QDate acquired;
    QDate freeFrom; // the day after its last return
    bool lentNow = false;
    qint32 holder = -1;
    qint32 loan = -1;
    bool discarded = false;
    QDate discardedOn;
};

struct LoanRow
{
    qint32 loan;
    qint32 client;
    qint32 book;
    QDate lent;
    bool limited;
    QDate due;
    QDate returned; // invalid while lent
};

} // namespace

DemoSummary fillDemoLibrary(const DemoOptions &options)
{
    std::mt19937 rng(options.seed);
    DemoSummary summary;
    const QDate today = ::today();
    const QDate first(2000, 1, 3);
    const int span = int(first.daysTo(today));
    if (span < 400)
        throw DbError(QStringLiteral("today is too early for a demo library"));

    Transaction tx;
    QSqlQuery ids =
        runSql(QStringLiteral("SELECT ID_KNIHY_FIRSTFREE, ID_LIDE_FIRSTFREE, ID_KATEGORIE_FIRSTFREE, "
                              "ID_VYPUJCKY_FIRSTFREE, ID_VRACENI_FIRSTFREE, PRIRUSTEK_MAX FROM IDS"));
    if (!ids.next())
        throw DbError(QStringLiteral("the IDS row is missing"));
    qint32 nextBook = qint32(ids.value(0).toLongLong());
    qint32 nextClient = qint32(ids.value(1).toLongLong());
    qint32 nextCategory = qint32(ids.value(2).toLongLong());
    qint32 nextLoan = qint32(ids.value(3).toLongLong());
    qint32 nextReturn = qint32(ids.value(4).toLongLong());
    qint32 prirustek = qint32(ids.value(5).toLongLong());
    ids.finish();

    // Categories: the visible ones hold books; removed ones hold only discarded books.
    QSqlQuery addCategory = prepareSql(QStringLiteral("INSERT INTO KATEGORIE VALUES (?, ?, ?)"));
    QVector<qint32> visibleCategories, removedCategories;
    for (const char *name : CategoryNames) {
        addCategory.addBindValue(nextCategory);
        addCategory.addBindValue(QString::fromUtf8(name));
        addCategory.addBindValue(1);
        execPrepared(addCategory);
        visibleCategories << nextCategory++;
    }
    for (const char *name : RemovedCategoryNames) {
        addCategory.addBindValue(nextCategory);
        addCategory.addBindValue(QString::fromUtf8(name));
        addCategory.addBindValue(0);
        execPrepared(addCategory);
        removedCategories << nextCategory++;
    }
    summary.categories = int(visibleCategories.size() + removedCategories.size());

    // Clients.
    struct Client
    {
        qint32 id;
        QString code, first, last;
        bool hidden = false;
    };
    QVector<Client> clients;
    clients.reserve(options.clients);
    for (int i = 0; i < options.clients; ++i) {
        Client c;
        c.id = nextClient++;
        c.code = QString::asprintf("K%05d", i + 1);
        const bool female = uniform(rng, 0, 1) == 1;
        const int fn = female ? uniform(rng, 14, 27) : uniform(rng, 0, 13);
        c.first = QString::fromUtf8(FirstNames[fn]);
        c.last = female ? pick(rng, SurnamesFemale) : pick(rng, SurnamesMale);
        clients << c;
    }

    // Books, acquired over the years in accession order.
    QVector<QDate> acquired(options.books);
    for (int i = 0; i < options.books; ++i)
        acquired[i] = first.addDays(uniform(rng, 0, span - 60));
    std::sort(acquired.begin(), acquired.end());
    QVector<Book> books(options.books);
    for (int i = 0; i < options.books; ++i) {
        Book &b = books[i];
        b.id = nextBook++;
        b.category = visibleCategories[uniform(rng, 0, int(visibleCategories.size()) - 1)];
        b.acquired = acquired[i];
        b.freeFrom = acquired[i];
    }

    // Loan history: visits of clients in time order, up to today, each lending one to four books
    // under one loan number; the books come back together, under one return number per return
    // visit, nearly always within the 30 days of the loan. The library grows busier over the
    // years: the visits grow denser towards today.
    QVector<LoanRow> loans;
    struct Visit
    {
        QDate day;
        bool keeps = false; // a loan of the last weeks whose books are still out today
    };
    const int visits = options.clients > 0 ? options.books + options.books / 4 : 0;
    QVector<Visit> visitDays(visits);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int i = 0; i < visits; ++i)
        visitDays[i].day = first.addDays(30 + qint64((span - 30) * std::sqrt(unit(rng))));
    // What a real library has out on any day: some 4 to 6 % of its books. Loans of the last
    // weeks whose books are still out (two to three books a loan) bring the share there, with the
    // history's own loans not yet back; a quarter of them were made more than 30 days ago and so
    // are overdue when they have a deadline.
    const int kept =
        options.clients > 0 ? int((qint64(options.books) * (35 + uniform(rng, 0, 15)) + 2499) / 2500) : 0;
    for (int i = 0; i < kept; ++i)
        visitDays << Visit{
            today.addDays(-(uniform(rng, 0, 3) == 0 ? uniform(rng, 31, 75) : uniform(rng, 0, 29))), true};
    std::stable_sort(visitDays.begin(), visitDays.end(),
                     [](const Visit &a, const Visit &b) { return a.day < b.day; });
    loans.reserve(visitDays.size() * 3);
    for (const Visit &visit : visitDays) {
        const QDate day = visit.day;
        const qint32 client = clients[uniform(rng, 0, int(clients.size()) - 1)].id;
        const int wanted = uniform(rng, 1, 4);
        const bool limited = uniform(rng, 0, 9) != 0;
        const QDate due = day.addDays(30);
        const QDate back =
            visit.keeps ? today.addDays(1)
                        : day.addDays(uniform(rng, 0, 9) == 0 ? uniform(rng, 31, 60) : uniform(rng, 2, 29));
        QVector<int> chosen;
        for (int tries = 0; tries < wanted * 12 && chosen.size() < wanted; ++tries) {
            const int k = uniform(rng, 0, options.books - 1);
            Book &b = books[k];
            if (b.acquired > day || b.freeFrom > day || b.lentNow || chosen.contains(k))
                continue;
            chosen << k;
        }
        if (chosen.isEmpty())
            continue;
        const qint32 loan = nextLoan++;
        for (int k : chosen) {
            Book &b = books[k];
            LoanRow r{loan, client, b.id, day, limited, limited ? due : QDate(), QDate()};
            if (back <= today) {
                r.returned = back;
                b.freeFrom = back.addDays(1);
            } else {
                b.lentNow = true;
                b.holder = client;
                b.loan = loan;
            }
            loans << r;
        }
    }

    // Clients holding nothing may have been removed; books not lent may have been discarded,
    // some of them in the categories that were removed since.
    QSet<qint32> holders;
    for (const Book &b : books)
        if (b.lentNow)
            holders.insert(b.holder);
    for (Client &c : clients)
        if (!holders.contains(c.id) && uniform(rng, 0, 32) == 0)
            c.hidden = true;
    for (Book &b : books) {
        if (b.lentNow || uniform(rng, 0, 29) != 0)
            continue;
        const QDate from = std::max(b.acquired, b.freeFrom);
        const int room = int(from.daysTo(today));
        if (room < 0)
            continue;
        b.discarded = true;
        b.discardedOn = from.addDays(uniform(rng, 0, room));
        if (!removedCategories.isEmpty() && uniform(rng, 0, 3) == 0)
            b.category = removedCategories[uniform(rng, 0, int(removedCategories.size()) - 1)];
    }

    QSqlQuery addClient =
        prepareSql(QStringLiteral("INSERT INTO LIDE VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"));
    for (const Client &c : clients) {
        const bool extended = uniform(rng, 0, 2) == 0;
        const QDate born = QDate(1940, 1, 1).addDays(uniform(rng, 0, 365 * 70));
        const QString address = QStringLiteral("%1 %2\n%3")
                                    .arg(pick(rng, TitleStart))
                                    .arg(uniform(rng, 1, 999))
                                    .arg(QStringLiteral("Horní Lhota"));
        addClient.addBindValue(c.id);
        addClient.addBindValue(c.code);
        addClient.addBindValue(c.first);
        addClient.addBindValue(c.last);
        addClient.addBindValue(extended ? 1 : 0);
        addClient.addBindValue(extended ? QString::asprintf("OP%08d", uniform(rng, 0, 99999999))
                                        : QString(QLatin1String("")));
        addClient.addBindValue(extended ? address : QString(QLatin1String("")));
        addClient.addBindValue(extended && uniform(rng, 0, 1) ? QStringLiteral("učitel")
                                                              : QString(QLatin1String("")));
        addClient.addBindValue(extended ? dateNumberFromDate(born) : NoDate);
        addClient.addBindValue(c.hidden ? 0 : 1);
        addClient.addBindValue(extended ? 1 : 0);
        addClient.addBindValue(extended ? 1 : 0);
        addClient.addBindValue(0);
        addClient.addBindValue(extended ? 1 : 0);
        execPrepared(addClient);
    }
    summary.clients = int(clients.size());

    QSqlQuery addBook = prepareSql(QStringLiteral(
        "INSERT INTO KNIHY VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"));
    for (int i = 0; i < books.size(); ++i) {
        const Book &b = books[i];
        const QString end = pick(rng, TitleEnd);
        const QString title =
            end.isEmpty() ? pick(rng, TitleStart) : pick(rng, TitleStart) + QLatin1Char(' ') + end;
        QStringList words;
        const int nk = uniform(rng, 0, 3);
        while (words.size() < nk) {
            const QString w = pick(rng, Keywords);
            if (!words.contains(w))
                words << w;
        }
        std::sort(words.begin(), words.end());
        bool anyKeyword = false;
        const QString keywordText = joinKeywordList(words, &anyKeyword);
        const bool hasPublisher = uniform(rng, 0, 9) != 0;
        const bool hasYear = uniform(rng, 0, 9) != 0;
        const bool hasPages = uniform(rng, 0, 4) != 0;
        const bool hasNote = uniform(rng, 0, 5) == 0;
        const qint32 accession = ++prirustek;
        addBook.addBindValue(b.id);
        addBook.addBindValue(b.category);
        addBook.addBindValue(b.lentNow ? b.holder : -1);
        addBook.addBindValue(b.lentNow ? b.loan : -1);
        addBook.addBindValue(QString::asprintf("%06d", accession));
        addBook.addBindValue(accession);
        addBook.addBindValue(title);
        addBook.addBindValue(pick(rng, Authors));
        addBook.addBindValue(dateNumberFromDate(b.acquired));
        addBook.addBindValue(double(float(uniform(rng, 49, 899) + (uniform(rng, 0, 1) ? 0.0 : 0.9))));
        addBook.addBindValue(hasYear ? std::min(b.acquired.year(), uniform(rng, 1950, 2025)) : -1);
        addBook.addBindValue(keywordText);
        addBook.addBindValue(hasPublisher ? pick(rng, Publishers) : QString(QLatin1String("")));
        addBook.addBindValue(hasPages ? uniform(rng, 24, 640) : -1);
        addBook.addBindValue(hasNote ? QStringLiteral("Dar od čtenáře.") : QString(QLatin1String("")));
        addBook.addBindValue(b.discarded ? 1 : 0);
        addBook.addBindValue(b.lentNow ? 1 : 0);
        addBook.addBindValue(b.discarded ? dateNumberFromDate(b.discardedOn) : NoDate);
        addBook.addBindValue(hasPublisher ? 1 : 0);
        addBook.addBindValue(hasYear ? 1 : 0);
        addBook.addBindValue(hasPages ? 1 : 0);
        addBook.addBindValue(hasNote ? 1 : 0);
        addBook.addBindValue(anyKeyword ? 1 : 0);
        execPrepared(addBook);
        summary.lentNow += b.lentNow ? 1 : 0;
        summary.discarded += b.discarded ? 1 : 0;
    }
    summary.books = int(books.size());

    QSqlQuery addLoan = prepareSql(QStringLiteral("INSERT INTO VYPUJCKY VALUES (?, ?, ?, ?, ?, ?, ?, ?)"));
    for (const LoanRow &r : loans) {
        addLoan.addBindValue(r.loan);
        addLoan.addBindValue(r.client);
        addLoan.addBindValue(r.book);
        addLoan.addBindValue(r.returned.isValid() ? 1 : 0);
        addLoan.addBindValue(dateNumberFromDate(r.lent));
        addLoan.addBindValue(r.limited ? 1 : 0);
        addLoan.addBindValue(r.limited ? dateNumberFromDate(r.due) : NoDate);
        addLoan.addBindValue(r.returned.isValid() ? dateNumberFromDate(r.returned) : NoDate);
        execPrepared(addLoan);
    }
    summary.loanRows = int(loans.size());

    // Returns in the order they happened: one return number per client and day.
    QVector<const LoanRow *> returned;
    for (const LoanRow &r : loans)
        if (r.returned.isValid())
            returned << &r;
    std::stable_sort(returned.begin(), returned.end(), [](const LoanRow *a, const LoanRow *b) {
        return a->returned != b->returned ? a->returned < b->returned : a->client < b->client;
    });
    QSqlQuery addReturn = prepareSql(QStringLiteral("INSERT INTO VRACENI VALUES (?, ?, ?, ?, ?, ?, ?)"));
    const LoanRow *previous = nullptr;
    qint32 returnNumber = -1;
    for (const LoanRow *r : returned) {
        if (!previous || previous->returned != r->returned || previous->client != r->client)
            returnNumber = nextReturn++;
        previous = r;
        addReturn.addBindValue(returnNumber);
        addReturn.addBindValue(r->book);
        addReturn.addBindValue(r->client);
        addReturn.addBindValue(dateNumberFromDate(r->returned));
        addReturn.addBindValue(r->limited ? dateNumberFromDate(r->due) : NoDate);
        addReturn.addBindValue(dateNumberFromDate(r->lent));
        addReturn.addBindValue(r->limited ? 1 : 0);
        execPrepared(addReturn);
    }
    summary.returnRows = int(returned.size());

    runSql(QStringLiteral(
               "UPDATE IDS SET ID_KNIHY_FIRSTFREE = ?, ID_LIDE_FIRSTFREE = ?, ID_KATEGORIE_FIRSTFREE = ?, "
               "ID_VYPUJCKY_FIRSTFREE = ?, ID_VRACENI_FIRSTFREE = ?, PRIRUSTEK_MAX = ?"),
           {nextBook, nextClient, nextCategory, nextLoan, nextReturn, prirustek});
    tx.commit();
    return summary;
}
