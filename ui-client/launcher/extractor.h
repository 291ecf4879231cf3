#pragma once

#include <cstdint>
#include <functional>

#include "ustring.h"

struct archive;

// What unpacking a package takes on a volume, as its counting pass sees it: one inode for every
// entry but a hard link, and every file's size, a folder and a long link target each rounded up
// to whole blocks. Sizes the archive does not state count as nothing.
struct PackageFootprint {
    int entries = 0;
    uint64_t bytes = 0;
    uint64_t inodes = 0;
};

// Unpacks the bundle's package into a folder with libarchive: a counting pass, then an
// extraction pass that reports one progress step per entry through Notify_Adapter. Runs on
// the worker thread; holds no libarchive object between calls.
class Extractor {
public:
    // Unpacks src below dest: 0 when every entry was written; -1 at the first failure (what
    // was written stays). Counts the entries first unless `counted` already holds the count.
    int Extract();
    // The counting pass: the number of entries before the end or the first damage; -1 when the
    // package cannot be opened.
    int Count();
    // The counting pass, also measuring the footprint with blocks of block_size bytes (0 counts
    // no blocks). Returns what Count returns; a later Extract reuses the count.
    int Measure(uint64_t block_size, PackageFootprint& footprint);
    // Prints each entry's path in the package on standard output, a line each: 0, also when the
    // listing stopped at damage; -1 when the package cannot be opened. Not used by the upgrade.
    int List();
    // Copies the data of the entry that ar has just read the header of, and aw has begun writing,
    // to the end: 0, or -1 (logged). Not used by the upgrade, which lets libarchive copy.
    int copy_data(struct archive* ar, struct archive* aw);

    ustring dest;
    ustring src;
    // Called with each entry's path in the package before the entry is written; a non-zero
    // result fails the unpack. The service orders the writes on disk through it.
    std::function<int(const char* path)> before_entry;
    // Entries found by an earlier counting pass of src, or 0: the package is read once for the
    // count however the caller splits the work.
    int counted = 0;
};
