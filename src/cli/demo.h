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
// (a few removed), and a history of loans and returns under shared numbers, some books lent now
// and some of them overdue, some discarded. Every relation between the tables holds and the
// IDS counters follow the rows. Runs in one transaction; throws DbError.
DemoSummary fillDemoLibrary(const DemoOptions &options);
