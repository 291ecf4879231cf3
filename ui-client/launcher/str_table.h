#pragma once

#include <QString>

// The one table of interface texts: 471 rows, each an id (its position), a key and a default
// English text. Texts come back in the user's language through the installed translator.
// Filled once on the interface thread before any other thread exists; read-only afterwards.
class StrTable {
public:
    enum { kRowCount = 471 };

    static void InitStrTable();
    static QString LoadStr(int id);
    static int LookupStrID(QString key);

    static const char* ktab[kRowCount];
    static const char* stab[kRowCount];
};
