#pragma once

#include <QString>

// The core's statements are written once, in SQLite's dialect (the record sets' texts first pass
// through jetToSqlite). On a PostgreSQL server each text is translated once and the translation
// kept:
// - placeholders ? and ?N become $N;
// - a flag column (stored 0/1) or a number standing alone as a condition becomes "(X <> 0)";
// - "X = Y COLLATE NOCASE" and "X = Y COLLATE CZNOCASE" compare lower(X) = lower(Y) (the lower()
//   indexes of codes and names serve it) and folivo_fold(X) = folivo_fold(Y) respectively;
// - "X LIKE P" matches folivo_fold(X) LIKE folivo_fold(P), letter case aside for every letter as
//   the program's own LIKE does (folivo_fold is in the server's schema);
// - the Czech order of ORDER BY (COLLATE CZECH) is the server's ICU collation "cs-CZ-x-icu";
// - IFNULL is COALESCE, TOTAL(X) is COALESCE(SUM(folivo_number(X)), 0.0), GROUP_CONCAT is
//   string_agg.
QString sqliteToPostgres(const QString &sql);
