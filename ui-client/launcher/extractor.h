#pragma once

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
};
