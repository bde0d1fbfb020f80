#pragma once

#include <QString>

struct DemoOptions
{
    int books = 1000;
    int clients = 200;
    quint32 seed = 2005;
};

struct DemoSummary
{
    int categories = 0;
    int books = 0;
    int clients = 0;
    int loanRows = 0;
    int returnRows = 0;
    int lentNow = 0;
    int discarded = 0;
};

// Fills the open, empty database with a made-up Czech library: categories (a few removed),
// books with titles, authors, publishers, keywords and prices acquired over the years, clients
// (a few removed), and a history of loans and returns under shared numbers that grows busier
// over the years and ends today: some 4 to 6 % of the books are out, some of them overdue, some
// clients hold several; some books are discarded. The same seed and day give the same library.
// Every relation between the tables holds and the IDS counters follow the rows. Runs in one
// transaction; throws DbError.
DemoSummary fillDemoLibrary(const DemoOptions &options);
