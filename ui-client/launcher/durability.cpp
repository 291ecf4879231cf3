#include "durability.h"

#include <cstring>
#include <set>
#include <sys/stat.h>

#include "file-op.h"
#include "log.h"

namespace {

const char* const kComponent = "service_debug";
// What the upgrade decision reads; velmora-pack writes them last, in this order.
const char* const kMarkers[] = {"Contents/MacOS/cloud-ui", "Contents/Resources/INFO"};

const char* Relative(const char* path) {
    while (path[0] == '/' || (path[0] == '.' && path[1] == '/'))
        path += path[0] == '/' ? 1 : 2;
    return path;
}

ustring Parent(const ustring& path) {
    const size_t slash = path.rfind("/");
    return slash == ustring::npos || slash == 0 ? ustring("/") : path.substr(0, slash);
}

} // namespace

UnpackDurability::UnpackDurability(const ustring& app) : app_(app), syncfs_(FSSyncfsReachesStorage(Parent(app))) {}

bool UnpackDurability::IsMarker(const char* path) {
    const char* rel = Relative(path);
    for (const char* marker : kMarkers)
        if (strcmp(rel, marker) == 0)
            return true;
    return false;
}

int UnpackDurability::BeforeEntry(const char* path) {
    // The first marker waits for every other file, the second for the first marker.
    if (IsMarker(path) && pending_ && Barrier() != 0)
        return -1;
    pending_ = true;
    // One syncfs needs no list: it would only cost memory that grows with the package.
    if (!syncfs_)
        written_.push_back(ustring(Relative(path)));
    return 0;
}

int UnpackDurability::Finish() {
    // The backups are removed after this: the new copy must be durable first, and so must its
    // own name and the install folder's, which a first install has just created.
    return Barrier();
}

int UnpackDurability::Barrier() {
    const int ret = syncfs_ ? FSSyncTree(app_) : SyncWritten();
    if (ret != 0)
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent, "[ERROR] durability(%d): cannot make '%s' durable\n", __LINE__,
                       app_.c_str());
    written_.clear();
    pending_ = false;
    return ret;
}

int UnpackDurability::SyncWritten() {
    // Each entry's data, then every folder that names one of them, up to the home folder.
    std::set<std::string> folders;
    for (const ustring& rel : written_) {
        const ustring path = app_ + "/" + rel;
        struct stat st;
        if (lstat(path.c_str(), &st) == 0 && !S_ISLNK(st.st_mode) && FSSync(path) != 0)
            return -1;
        // A folder already there has its own folders there too.
        for (ustring dir = Parent(path); dir.size() >= app_.size() && folders.insert(dir.c_str()).second;)
            dir = Parent(dir);
    }
    const ustring install = Parent(app_);
    folders.insert(install.c_str());
    folders.insert(Parent(install).c_str());
    // Nothing is written during a barrier, so the order of the folders does not matter.
    for (auto it = folders.rbegin(); it != folders.rend(); ++it)
        if (FSSync(ustring(it->c_str())) != 0)
            return -1;
    return 0;
}
