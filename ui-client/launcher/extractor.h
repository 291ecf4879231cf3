#pragma once

#include <functional>

#include "ustring.h"

struct archive;

// Unpacks the bundle's package into a folder with libarchive: a counting pass, then an
// extraction pass that reports one progress step per entry through Notify_Adapter. Runs on
// the worker thread; holds no libarchive object between calls.
class Extractor {
public:
    int Extract();
    int Count();
    int List();
    int copy_data(struct archive* ar, struct archive* aw);

    ustring dest;
    ustring src;
    // Called with each entry's path in the package before the entry is written; a non-zero
    // result fails the unpack. The service orders the writes on disk through it.
    std::function<int(const char* path)> before_entry;
};
