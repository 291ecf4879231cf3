// powercut-fs: a FUSE file system for power-cut tests. It passes every call through to a
// backing folder and remembers what was not made durable, in the strict POSIX sense:
//
// - fsync or fdatasync of a file makes its data durable, not its name;
// - fsync of a folder makes its entries durable (names created, renamed or removed in it);
// - syncfs never reaches a FUSE server here (the kernel sends FUSE_SYNCFS to virtiofs only),
//   so it makes nothing durable.
//
// Writing "cut worst <seed>" to the hidden control file /.powercut at the mount's root loses
// power: every unsynced write is lost and every folder goes back to its last synced entries.
// "cut random <seed>" loses less, at random: a file keeps its unsynced data, loses it, or is
// cut at an arbitrary length; a folder keeps a random first part of its unsynced changes, in
// order. "cut names <seed>" keeps every name, as a journal that commits names ahead of data
// does, and treats each file's unsynced data at random as above: the zero-length files of a
// delayed allocation. The backing folder then holds only what survived. "sync" takes everything as durable
// (a clean shutdown). Reading the control file tells what the last cut lost and how many
// fsync calls arrived. Modes, owners and times are kept as they are, not modelled.
//
// Usage: powercut-fs <backing folder> <mount point> [FUSE options]; it runs in the foreground,
// single-threaded, until unmounted. Hard links are refused.

#define FUSE_USE_VERSION 31
#include <fuse.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <ftw.h>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

struct Node;
using NodePtr = std::shared_ptr<Node>;
using Entries = std::map<std::string, NodePtr>;

struct Node {
    enum Kind { kFile, kDir, kLink } kind = kFile;
    Entries live; // a folder's entries now
    // A folder with unsynced changes: its entries at the last fsync and the changes since.
    bool dirty = false;
    Entries durable;
    std::vector<std::pair<std::string, NodePtr>> changes; // null: removed
    std::optional<std::string> durable_data;              // a file's data at its last fsync
    std::optional<std::string> gone_data;                 // a removed file's data when removed
    std::string target;                                   // a symbolic link's
    struct stat attrs = {};                               // a removed object's, when removed
};

const char kControl[] = "/.powercut";
const uint64_t kControlHandle = ~uint64_t(0);
std::string g_backing;
NodePtr g_root;
struct Open {
    int fd;
    NodePtr node;
};
std::map<uint64_t, Open> g_open;
uint64_t g_next_fh = 1;
unsigned long g_fsyncs = 0, g_fsyncdirs = 0;
std::string g_report = "no cut yet\n";

std::string Backing(const char* path) {
    return g_backing + path;
}

std::string ReadAll(const std::string& path) {
    std::string data;
    int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    char buf[65536];
    for (ssize_t n; fd >= 0 && (n = read(fd, buf, sizeof(buf))) > 0;)
        data.append(buf, static_cast<size_t>(n));
    if (fd >= 0)
        close(fd);
    return data;
}

std::string ReadAllFd(int fd) {
    std::string data;
    char buf[65536];
    for (ssize_t n; (n = pread(fd, buf, sizeof(buf), static_cast<off_t>(data.size()))) > 0;)
        data.append(buf, static_cast<size_t>(n));
    return data;
}

NodePtr Scan(const std::string& path) {
    auto node = std::make_shared<Node>();
    struct stat st;
    if (lstat(path.c_str(), &st) != 0)
        return node;
    if (S_ISLNK(st.st_mode)) {
        node->kind = Node::kLink;
        char buf[4096];
        const ssize_t n = readlink(path.c_str(), buf, sizeof(buf));
        node->target.assign(buf, n > 0 ? static_cast<size_t>(n) : 0);
    } else if (S_ISDIR(st.st_mode)) {
        node->kind = Node::kDir;
        DIR* d = opendir(path.c_str());
        for (dirent* e; d && (e = readdir(d));)
            if (strcmp(e->d_name, ".") != 0 && strcmp(e->d_name, "..") != 0)
                node->live[e->d_name] = Scan(path + "/" + e->d_name);
        if (d)
            closedir(d);
    }
    return node;
}

std::pair<std::string, std::string> Split(const char* path) {
    const std::string p(path);
    const size_t slash = p.rfind('/');
    return {slash == 0 ? "/" : p.substr(0, slash), p.substr(slash + 1)};
}

NodePtr Lookup(const std::string& path) {
    NodePtr node = g_root;
    std::istringstream parts(path);
    for (std::string part; node && std::getline(parts, part, '/');) {
        if (part.empty())
            continue;
        const auto it = node->live.find(part);
        node = it == node->live.end() ? nullptr : it->second;
    }
    return node;
}

// The first change of a folder after its last fsync keeps its durable entries.
void Change(const std::string& folder, const std::string& name, const NodePtr& node) {
    NodePtr dir = Lookup(folder);
    if (!dir)
        return;
    if (!dir->dirty) {
        dir->dirty = true;
        dir->durable = dir->live;
        dir->changes.clear();
    }
    if (node)
        dir->live[name] = node;
    else
        dir->live.erase(name);
    dir->changes.emplace_back(name, node);
}

// Before the first change of a file's data after its last fsync, keep the durable data.
void Touch(const NodePtr& node, const std::string& backing) {
    if (node && node->kind == Node::kFile && !node->durable_data)
        node->durable_data = ReadAll(backing);
}
void Touch(const NodePtr& node, int fd) {
    if (node && node->kind == Node::kFile && !node->durable_data)
        node->durable_data = ReadAllFd(fd);
}

// A removed object may come back with its folder's unsynced entries: keep what it held.
void Forget(const NodePtr& node, const std::string& backing) {
    if (!node)
        return;
    lstat(backing.c_str(), &node->attrs);
    if (node->kind == Node::kFile) {
        node->gone_data = ReadAll(backing);
        if (!node->durable_data)
            node->durable_data = node->gone_data;
    }
}

void GiveToCaller(const std::string& path) {
    const fuse_context* ctx = fuse_get_context();
    if (lchown(path.c_str(), ctx->uid, ctx->gid) != 0)
        perror(path.c_str());
}

int Fail() {
    return -errno;
}

uint64_t Register(int fd, const NodePtr& node) {
    g_open[g_next_fh] = {fd, node};
    return g_next_fh++;
}

} // namespace

// ---- the power cut --------------------------------------------------------------------------

namespace {

class Cut {
public:
    enum Mode { kWorst, kRandom, kNames };
    Cut(Mode mode, unsigned seed) : mode_(mode), rng_(seed) {
        Paths(g_root, g_backing);
        lstat(g_backing.c_str(), &root_attrs_);
    }

    // Writes what survives of the tree into dest, which exists.
    void Write(const NodePtr& node, const std::string& dest) {
        if (!on_path_.insert(node.get()).second)
            return; // a folder moved into itself by unsynced renames
        struct stat attrs = Attrs(node);
        if (attrs.st_mode == 0) {
            // Never seen on disk by this tool (it left before its attributes were kept): it comes
            // back owned like the mount, with plain modes, so the user can still remove it.
            attrs.st_uid = root_attrs_.st_uid;
            attrs.st_gid = root_attrs_.st_gid;
            attrs.st_mode = node->kind == Node::kDir ? 0755 : 0644;
        }
        if (node->kind == Node::kDir) {
            if (dest != staging_root_ && mkdir(dest.c_str(), 0700) != 0)
                perror(dest.c_str());
            for (const auto& [name, child] : Surviving(*node))
                Write(child, dest + "/" + name);
        } else if (node->kind == Node::kLink) {
            if (symlink(node->target.c_str(), dest.c_str()) != 0)
                perror(dest.c_str());
        } else {
            WriteFile(dest, Data(node));
        }
        if (lchown(dest.c_str(), attrs.st_uid, attrs.st_gid) != 0 ||
            (node->kind != Node::kLink && chmod(dest.c_str(), attrs.st_mode & 07777) != 0))
            perror(dest.c_str());
        on_path_.erase(node.get());
    }

    std::string staging_root_;
    unsigned long lost_files = 0, reverted_folders = 0;

private:
    void Paths(const NodePtr& node, const std::string& path) {
        live_path_[node.get()] = path;
        for (const auto& [name, child] : node->live)
            Paths(child, path + "/" + name);
    }
    struct stat Attrs(const NodePtr& node) {
        const auto it = live_path_.find(node.get());
        struct stat st = node->attrs;
        if (it != live_path_.end())
            lstat(it->second.c_str(), &st);
        return st;
    }
    std::string Live(const NodePtr& node) {
        const auto it = live_path_.find(node.get());
        return it != live_path_.end() ? ReadAll(it->second) : node->gone_data.value_or("");
    }
    Entries Surviving(const Node& dir) {
        if (!dir.dirty || mode_ == kNames)
            return dir.live;
        const size_t keep = mode_ == kWorst ? 0 : std::uniform_int_distribution<size_t>(0, dir.changes.size())(rng_);
        reverted_folders += keep < dir.changes.size();
        Entries entries = dir.durable;
        for (size_t i = 0; i < keep; ++i) {
            if (dir.changes[i].second)
                entries[dir.changes[i].first] = dir.changes[i].second;
            else
                entries.erase(dir.changes[i].first);
        }
        return entries;
    }
    std::string Data(const NodePtr& node) {
        if (!node->durable_data)
            return Live(node);
        const std::string live = Live(node);
        const int fate = mode_ == kWorst ? 0 : std::uniform_int_distribution<int>(0, 2)(rng_);
        if (fate == 1 || live == *node->durable_data)
            return live;
        ++lost_files;
        if (fate == 0)
            return *node->durable_data;
        return live.substr(0, std::uniform_int_distribution<size_t>(0, live.size())(rng_));
    }
    static void WriteFile(const std::string& path, const std::string& data) {
        int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (fd < 0 || write(fd, data.data(), data.size()) != static_cast<ssize_t>(data.size()))
            perror(path.c_str());
        if (fd >= 0)
            close(fd);
    }

    Mode mode_;
    std::mt19937 rng_;
    struct stat root_attrs_ = {};
    std::map<const Node*, std::string> live_path_;
    std::set<const Node*> on_path_;
};

int RemoveEntry(const char* path, const struct stat*, int, struct FTW*) {
    return remove(path);
}

// Builds the surviving tree beside the backing folder, then puts it in the backing's place.
int PowerCut(Cut::Mode mode, const std::string& name, unsigned seed) {
    const std::string staging = g_backing + ".cut", old = g_backing + ".old";
    nftw(staging.c_str(), RemoveEntry, 16, FTW_DEPTH | FTW_PHYS);
    nftw(old.c_str(), RemoveEntry, 16, FTW_DEPTH | FTW_PHYS);
    if (mkdir(staging.c_str(), 0700) != 0)
        return -errno;
    Cut cut(mode, seed);
    cut.staging_root_ = staging;
    cut.Write(g_root, staging);
    if (rename(g_backing.c_str(), old.c_str()) != 0 || rename(staging.c_str(), g_backing.c_str()) != 0)
        return -errno;
    nftw(old.c_str(), RemoveEntry, 16, FTW_DEPTH | FTW_PHYS);
    g_root = Scan(g_backing);
    std::ostringstream report;
    report << "cut " << name << " " << seed << ": lost data of " << cut.lost_files << " files, reverted "
           << cut.reverted_folders << " folders; fsync " << g_fsyncs << ", fsyncdir " << g_fsyncdirs << " so far\n";
    g_report = report.str();
    return 0;
}

int Command(const std::string& text) {
    std::istringstream in(text);
    std::string verb, mode;
    unsigned seed = 0;
    in >> verb;
    if (verb == "sync") {
        g_root = Scan(g_backing);
        return 0;
    }
    const std::map<std::string, Cut::Mode> modes = {
        {"worst", Cut::kWorst}, {"random", Cut::kRandom}, {"names", Cut::kNames}};
    if (verb == "cut" && (in >> mode >> seed) && modes.count(mode))
        return PowerCut(modes.at(mode), mode, seed);
    return -EINVAL;
}

} // namespace

// ---- the file system --------------------------------------------------------------------------

namespace {

bool IsControl(const char* path) {
    return path && strcmp(path, kControl) == 0;
}

void* Init(fuse_conn_info*, fuse_config* cfg) {
    // Every look-up and attribute comes from here, so that after a cut nothing stale is seen;
    // a file removed while open is removed at once, not hidden under another name.
    cfg->entry_timeout = cfg->attr_timeout = cfg->negative_timeout = 0;
    cfg->hard_remove = 1;
    return nullptr;
}

int GetAttr(const char* path, struct stat* st, fuse_file_info* fi) {
    if (IsControl(path)) {
        *st = {};
        st->st_mode = S_IFREG | 0600;
        st->st_nlink = 1;
        st->st_size = static_cast<off_t>(g_report.size());
        return 0;
    }
    if (fi && g_open.count(fi->fh))
        return fstat(g_open[fi->fh].fd, st) == 0 ? 0 : Fail();
    return lstat(Backing(path).c_str(), st) == 0 ? 0 : Fail();
}

int ReadDir(const char* path, void* buf, fuse_fill_dir_t fill, off_t, fuse_file_info*, fuse_readdir_flags) {
    DIR* d = opendir(Backing(path).c_str());
    if (!d)
        return Fail();
    for (dirent* e; (e = readdir(d));)
        fill(buf, e->d_name, nullptr, 0, static_cast<fuse_fill_dir_flags>(0));
    closedir(d);
    return 0;
}

int ReadLink(const char* path, char* buf, size_t size) {
    const ssize_t n = readlink(Backing(path).c_str(), buf, size - 1);
    if (n < 0)
        return Fail();
    buf[n] = '\0';
    return 0;
}

int MkDir(const char* path, mode_t mode) {
    if (mkdir(Backing(path).c_str(), mode) != 0)
        return Fail();
    GiveToCaller(Backing(path));
    auto node = std::make_shared<Node>();
    node->kind = Node::kDir;
    node->dirty = true; // a new folder's entries are durable as none
    const auto [folder, name] = Split(path);
    Change(folder, name, node);
    return 0;
}

int SymLink(const char* target, const char* path) {
    if (symlink(target, Backing(path).c_str()) != 0)
        return Fail();
    GiveToCaller(Backing(path));
    auto node = std::make_shared<Node>();
    node->kind = Node::kLink;
    node->target = target;
    const auto [folder, name] = Split(path);
    Change(folder, name, node);
    return 0;
}

int Unlink(const char* path) {
    NodePtr node = Lookup(path);
    Forget(node, Backing(path));
    if (unlink(Backing(path).c_str()) != 0)
        return Fail();
    const auto [folder, name] = Split(path);
    Change(folder, name, nullptr);
    return 0;
}

int RmDir(const char* path) {
    if (rmdir(Backing(path).c_str()) != 0)
        return Fail();
    Forget(Lookup(path), Backing(path));
    const auto [folder, name] = Split(path);
    Change(folder, name, nullptr);
    return 0;
}

int Rename(const char* from, const char* to, unsigned int flags) {
    if (flags & RENAME_EXCHANGE)
        return -EINVAL;
    struct stat st;
    const bool replaces = lstat(Backing(to).c_str(), &st) == 0;
    if (replaces && (flags & RENAME_NOREPLACE))
        return -EEXIST;
    NodePtr node = Lookup(from), replaced = replaces ? Lookup(to) : nullptr;
    Forget(replaced, Backing(to));
    if (rename(Backing(from).c_str(), Backing(to).c_str()) != 0)
        return Fail();
    const auto [from_folder, from_name] = Split(from);
    const auto [to_folder, to_name] = Split(to);
    Change(from_folder, from_name, nullptr);
    Change(to_folder, to_name, node);
    return 0;
}

int Link(const char*, const char*) {
    return -EPERM;
}

int ChMod(const char* path, mode_t mode, fuse_file_info*) {
    return chmod(Backing(path).c_str(), mode) == 0 ? 0 : Fail();
}

int ChOwn(const char* path, uid_t uid, gid_t gid, fuse_file_info*) {
    return lchown(Backing(path).c_str(), uid, gid) == 0 ? 0 : Fail();
}

int UTimens(const char* path, const struct timespec tv[2], fuse_file_info*) {
    return utimensat(AT_FDCWD, Backing(path).c_str(), tv, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : Fail();
}

int Truncate(const char* path, off_t size, fuse_file_info* fi) {
    if (fi && g_open.count(fi->fh)) {
        const Open& o = g_open[fi->fh];
        Touch(o.node, o.fd);
        return ftruncate(o.fd, size) == 0 ? 0 : Fail();
    }
    Touch(Lookup(path), Backing(path));
    return truncate(Backing(path).c_str(), size) == 0 ? 0 : Fail();
}

int Create(const char* path, mode_t mode, fuse_file_info* fi) {
    struct stat st;
    const bool existed = lstat(Backing(path).c_str(), &st) == 0;
    if (existed && (fi->flags & O_TRUNC))
        Touch(Lookup(path), Backing(path));
    const int fd = open(Backing(path).c_str(), fi->flags | O_CREAT | O_CLOEXEC, mode);
    if (fd < 0)
        return Fail();
    NodePtr node = existed ? Lookup(path) : std::make_shared<Node>();
    if (!existed) {
        GiveToCaller(Backing(path));
        node->durable_data = std::string(); // a new file's data is durable as none
        const auto [folder, name] = Split(path);
        Change(folder, name, node);
    }
    fi->fh = Register(fd, node);
    return 0;
}

int OpenFile(const char* path, fuse_file_info* fi) {
    if (IsControl(path)) {
        fi->fh = kControlHandle;
        fi->direct_io = 1;
        return 0;
    }
    NodePtr node = Lookup(path);
    if (fi->flags & O_TRUNC)
        Touch(node, Backing(path));
    const int fd = open(Backing(path).c_str(), (fi->flags & ~O_CREAT) | O_CLOEXEC);
    if (fd < 0)
        return Fail();
    fi->fh = Register(fd, node);
    return 0;
}

int Read(const char*, char* buf, size_t size, off_t offset, fuse_file_info* fi) {
    if (fi->fh == kControlHandle) {
        const size_t from = std::min(g_report.size(), static_cast<size_t>(offset));
        const size_t n = std::min(size, g_report.size() - from);
        memcpy(buf, g_report.data() + from, n);
        return static_cast<int>(n);
    }
    const auto it = g_open.find(fi->fh);
    if (it == g_open.end())
        return -EBADF;
    const ssize_t n = pread(it->second.fd, buf, size, offset);
    return n < 0 ? Fail() : static_cast<int>(n);
}

int Write(const char*, const char* buf, size_t size, off_t offset, fuse_file_info* fi) {
    if (fi->fh == kControlHandle) {
        const int ret = Command(std::string(buf, size));
        return ret < 0 ? ret : static_cast<int>(size);
    }
    const auto it = g_open.find(fi->fh);
    if (it == g_open.end())
        return -EBADF;
    const Open& o = it->second;
    Touch(o.node, o.fd);
    const ssize_t n = pwrite(o.fd, buf, size, offset);
    return n < 0 ? Fail() : static_cast<int>(n);
}

// The data alone: the name is its folder's.
int FSync(const char*, int, fuse_file_info* fi) {
    ++g_fsyncs;
    if (g_open.count(fi->fh) && g_open[fi->fh].node)
        g_open[fi->fh].node->durable_data.reset();
    return 0;
}

int FSyncDir(const char* path, int, fuse_file_info*) {
    ++g_fsyncdirs;
    if (NodePtr dir = Lookup(path)) {
        dir->dirty = false;
        dir->durable.clear();
        dir->changes.clear();
    }
    return 0;
}

int Release(const char*, fuse_file_info* fi) {
    const auto it = g_open.find(fi->fh);
    if (it != g_open.end()) {
        close(it->second.fd);
        g_open.erase(it);
    }
    return 0;
}

int StatFs(const char*, struct statvfs* st) {
    return statvfs(g_backing.c_str(), st) == 0 ? 0 : Fail();
}

} // namespace

int main(int argc, char* argv[]) {
    if (argc < 3) {
        fprintf(stderr, "usage: %s <backing folder> <mount point> [FUSE options]\n", argv[0]);
        return 2;
    }
    char* backing = realpath(argv[1], nullptr);
    if (!backing) {
        perror(argv[1]);
        return 2;
    }
    g_backing = backing;
    free(backing);
    g_root = Scan(g_backing);

    fuse_operations ops = {};
    ops.init = Init;
    ops.getattr = GetAttr;
    ops.readdir = ReadDir;
    ops.readlink = ReadLink;
    ops.mkdir = MkDir;
    ops.symlink = SymLink;
    ops.unlink = Unlink;
    ops.rmdir = RmDir;
    ops.rename = Rename;
    ops.link = Link;
    ops.chmod = ChMod;
    ops.chown = ChOwn;
    ops.utimens = UTimens;
    ops.truncate = Truncate;
    ops.create = Create;
    ops.open = OpenFile;
    ops.read = Read;
    ops.write = Write;
    ops.fsync = FSync;
    ops.fsyncdir = FSyncDir;
    ops.release = Release;
    ops.statfs = StatFs;

    std::vector<char*> args = {argv[0],
                               argv[2],
                               const_cast<char*>("-f"),
                               const_cast<char*>("-s"),
                               const_cast<char*>("-o"),
                               const_cast<char*>("allow_other,default_permissions,fsname=powercut,subtype=powercut")};
    for (int i = 3; i < argc; ++i)
        args.push_back(argv[i]);
    return fuse_main(static_cast<int>(args.size()), args.data(), &ops, nullptr);
}
