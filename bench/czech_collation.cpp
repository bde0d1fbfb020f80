// A loadable SQLite extension with the program's Czech collation (CZECH), so that the sqlite3 shell
// of the HTML baseline can run the very statement the program runs, sorted the same way:
//   sqlite3 -cmd ".load libczech_collation.so folivo_czech_collation_init" ...

#include "data/czechorder.h"

#include <sqlite3.h>

extern "C" int folivo_czech_collation_init(sqlite3 *db, char **, const void *)
{
    return registerCzechCollation(db) ? SQLITE_OK : SQLITE_ERROR;
}
