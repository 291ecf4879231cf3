// Arbitrary bytes as the package. Whatever the archive holds, nothing outside the destination
// folder may change, and the progress reports must count the entries one by one.
//
// Hostile archives reach the disk here: scripts/fuzz runs this target as an unprivileged user
// when started as root, and every file it writes is capped in size.
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "extractor.h"
#include "file_tree.h"
#include "fuzz_support.h"
#include "notify_adapter.h"
#include "str_table.h"
#include "temp_dir.h"

namespace fs = std::filesystem;

namespace {

// The sandbox: dest three levels deep with a file beside it at every level, so an entry that
// climbs out lands somewhere watched; the working folder is watched too, since hard link
// targets are resolved against it.
struct Sandbox {
    testsupport::TempDir root;
    std::string inner = root / "outer/inner";
    std::string dest = inner + "/dest";
    std::string package = inner + "/velmora.hpk";
    std::string cwd = root / "cwd";
    int home_cwd = open(".", O_RDONLY | O_DIRECTORY);
    std::vector<std::pair<int, int>> reports;
    int labels = 0;
    mode_t dest_mode = 0;
};
// Destroyed at exit, which removes the sandbox.
std::unique_ptr<Sandbox> box;

// Every path below root except dest's own tree, without following links: type, mode, inode,
// link target and file content.
std::map<std::string, std::string> Describe(const std::string& root, const std::string& skip) {
    std::map<std::string, std::string> tree;
    std::error_code ec;
    for (auto it = fs::recursive_directory_iterator(root, ec); !ec && it != fs::recursive_directory_iterator();
         it.increment(ec)) {
        const std::string path = it->path().string();
        struct stat st;
        if (path == skip || lstat(path.c_str(), &st) != 0) {
            it.disable_recursion_pending();
            continue;
        }
        std::string& about = tree[path] = std::to_string(st.st_mode) + " " + std::to_string(st.st_ino) + " ";
        if (S_ISREG(st.st_mode))
            about += testsupport::readFile(path);
        else if (S_ISLNK(st.st_mode))
            about += fs::read_symlink(path, ec).string();
    }
    tree["(walk error)"] = ec.message();
    return tree;
}

// libarchive is not instrumented, so what the entries became on disk is the fuzzer's only view
// of how far an archive got: each kind of result, and how often it occurs, is a branch of its
// own for the coverage counters. Nothing is checked here.
void NoteWhatWasWritten(const std::string& dest) {
    static unsigned long seen[4];
    std::error_code ec;
    for (auto it = fs::recursive_directory_iterator(dest, ec); !ec && it != fs::recursive_directory_iterator();
         it.increment(ec)) {
        switch (it->symlink_status(ec).type()) {
        case fs::file_type::regular:
            ++seen[0];
            break;
        case fs::file_type::directory:
            ++seen[1];
            break;
        case fs::file_type::symlink:
            ++seen[2];
            break;
        default:
            ++seen[3];
            break;
        }
    }
}

// Entries may leave folders without permissions; give them back so the folder can go.
void RemoveTree(const std::string& path) {
    std::error_code ec;
    for (auto it = fs::recursive_directory_iterator(path, ec); !ec && it != fs::recursive_directory_iterator();
         it.increment(ec))
        if (!it->is_symlink(ec) && it->is_directory(ec))
            fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ec);
    fs::permissions(path, fs::perms::owner_all, fs::perm_options::add | fs::perm_options::nofollow, ec);
    fs::remove_all(path, ec);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    box = std::make_unique<Sandbox>();
    // Private, so that a mode applied through a link shows (the package's files are 0644).
    for (const std::string& dir : {box->root.path(), box->root / "outer", box->inner, box->cwd})
        FUZZ_CHECK(testsupport::writeFile(dir + "/keep", "must stay as it is") &&
                   chmod((dir + "/keep").c_str(), 0600) == 0);
    // A few bytes can unpack to gigabytes; a write past the cap fails instead of filling the disk.
    const rlimit cap = {64 << 20, 64 << 20};
    FUZZ_CHECK(setrlimit(RLIMIT_FSIZE, &cap) == 0 && signal(SIGXFSZ, SIG_IGN) != SIG_ERR);
    fuzzsupport::LogEverythingQuietly(box->root.path());
    fuzzsupport::SilenceStringWarnings();
    StrTable::InitStrTable();
    // No event loop and one thread: the adapter's signals arrive here as direct calls.
    QObject::connect(Notify_Adapter::GetInstance(), &Notify_Adapter::sigUpdateProgress,
                     [](int total, int current) { box->reports.emplace_back(total, current); });
    QObject::connect(Notify_Adapter::GetInstance(), &Notify_Adapter::sigUpdateDialogText,
                     [](const QString&) { ++box->labels; });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FUZZ_CHECK(testsupport::writeFile(box->package, std::string(reinterpret_cast<const char*>(data), size)));
    FUZZ_CHECK(mkdir(box->dest.c_str(), 0755) == 0);
    struct stat made;
    FUZZ_CHECK(stat(box->dest.c_str(), &made) == 0);
    box->dest_mode = made.st_mode;
    box->reports.clear();
    box->labels = 0;
    const auto before = Describe(box->root.path(), box->dest);

    FUZZ_CHECK(chdir(box->cwd.c_str()) == 0);
    Extractor extractor;
    extractor.src = box->package.c_str();
    extractor.dest = box->dest.c_str();
    const int result = extractor.Extract();
    FUZZ_CHECK(fchdir(box->home_cwd) == 0);

    FUZZ_CHECK(Describe(box->root.path(), box->dest) == before);
    // dest itself stays the folder it was, with its mode: a package that replaced it with a link
    // would send the later entries, and the caller's rollback, wherever the link points.
    struct stat st;
    FUZZ_CHECK(lstat(box->dest.c_str(), &st) == 0 && S_ISDIR(st.st_mode) && st.st_mode == box->dest_mode);
    FUZZ_CHECK(result == 0 || result == -1);
    FUZZ_CHECK(box->labels == 1);
    // One report per entry written, numbered from 1 against the first pass's count; a
    // success has reported every entry.
    for (size_t i = 0; i < box->reports.size(); ++i)
        FUZZ_CHECK(box->reports[i].first == box->reports[0].first && box->reports[i].second == int(i) + 1);
    FUZZ_CHECK(box->reports.empty() || box->reports.back().second <= box->reports.back().first);
    FUZZ_CHECK(result != 0 || (!box->reports.empty() && box->reports.back().second == box->reports.back().first));

    NoteWhatWasWritten(box->dest);
    RemoveTree(box->dest);
    FUZZ_CHECK(!testsupport::exists(box->dest));
    return 0;
}
