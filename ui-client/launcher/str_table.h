#pragma once

#include <QString>

// The one table of interface texts: 471 rows, each an id (its position), a key and a default
// English text. Texts come back in the user's language through the installed translator.
// Filled once on the interface thread before any other thread exists; read-only afterwards.
class StrTable {
public:
    enum { kRowCount = 471 };

    // Fills both tables; calling it again stores the same rows again.
    static void InitStrTable();
    // The row's text in the installed translation, else its English text, with the escapes "\n"
    // and "\t" of translation files turned into a line break and a tab. Empty before
    // InitStrTable and for an id outside 0..470. Safe from any thread once the table is filled.
    static QString LoadStr(int id);
    // The id of the row whose key equals key, ignoring ASCII and Latin-1 letter case; -1 when
    // there is none, and before InitStrTable.
    static int LookupStrID(QString key);

private:
    // Pointers to compiled-in texts, null until InitStrTable: the table owns no memory.
    static const char* ktab[kRowCount];
    static const char* stab[kRowCount];
};
