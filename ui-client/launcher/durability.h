#pragma once

#include <vector>

#include "ustring.h"

// Orders the unpack's writes on disk. The upgrade decision reads only the client executable
// and INFO, which the package holds last: each of them is written only once everything written
// before it is durable, so that after a power cut no copy reads as current while other files
// of it were lost (a name kept without its data, a file cut short).
class UnpackDurability {
public:
    explicit UnpackDurability(const ustring& app);

    // Called before the package entry `path` (relative to the folder) is written; non-zero
    // stops the unpack.
    int BeforeEntry(const char* path);
    // After the last entry: the whole copy and its name durable. Non-zero when that failed.
    int Finish();

    // Whether the decision reads this entry.
    static bool IsMarker(const char* path);

private:
    int Barrier();
    int SyncWritten();

    ustring app_;
    // One syncfs covers everything on most volumes; on the others (FUSE), only what was written
    // since the last barrier is synced, file by file, with the folders that name it.
    bool syncfs_;
    bool pending_ = false; // written since the last barrier
    std::vector<ustring> written_;
};
