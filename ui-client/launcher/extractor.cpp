#include "extractor.h"

#include <archive.h>
#include <archive_entry.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "log.h"
#include "notify_adapter.h"
#include "str_table.h"

namespace {

const char kLogComponent[] = "extractor_debug";
const size_t kBlockSize = 10240;

// Replace what is in the way and refuse ".." so no entry can climb out of the destination;
// owners, times and full permissions are deliberately not restored from the package.
const int kWriteOptions = ARCHIVE_EXTRACT_UNLINK | ARCHIVE_EXTRACT_SECURE_NODOTDOT | ARCHIVE_EXTRACT_MAC_METADATA;

// The elements of an entry's name as the writer resolves it below dest: it drops empty and "."
// elements before it touches the disk, so "./", "//" and "a/./b/" mean "", "" and "a/b".
std::vector<std::string> NameElements(const char* path) {
    std::vector<std::string> elements;
    for (const char* p = path; *p;) {
        const char* end = std::strchr(p, '/');
        const size_t n = end ? size_t(end - p) : std::strlen(p);
        if (n > 0 && !(n == 1 && *p == '.'))
            elements.emplace_back(p, n);
        p += end ? n + 1 : n;
    }
    return elements;
}

ustring Join(const ustring& dest, const std::vector<std::string>& elements, size_t count) {
    ustring path = dest;
    for (size_t i = 0; i < count; ++i)
        path += ustring("/") + ustring(elements[i].c_str());
    return path;
}

// What lstat says about a path on an entry's way. Only "does not exist" is an answer a
// containment check may act on: a path too long to look at, or in a folder we may not read,
// could hide a link, so any other failure is "unknown", which refuses the entry.
enum class PathKind { Missing, Other, Link, Unknown };

// Unknown is logged as the refusal of entry, which names the path on its way.
PathKind KindOf(const ustring& path, const char* entry) {
    struct stat st;
    if (lstat(path.c_str(), &st) == 0)
        return S_ISLNK(st.st_mode) ? PathKind::Link : PathKind::Other;
    const int e = errno;
    if (e == ENOENT)
        return PathKind::Missing;
    Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent, "[ERROR] extractor(%d): Cannot check '%s' for entry '%s': %s\n",
                   __LINE__, path.c_str(), entry, std::strerror(e));
    return PathKind::Unknown;
}

// The first folder on the way from dest to the last element that is a symbolic link on disk
// (Link), or whose kind cannot be known (Unknown); Other when the way is clear. The writer
// refuses ".." but follows links, so a package that first writes a link pointing out of dest
// could then place files through it, anywhere the user may write. The last element itself may
// be a link, even with "/" after it: it is replaced, never followed (see PrepareEntry).
PathKind WayThrough(const ustring& dest, const std::vector<std::string>& elements, const char* entry) {
    for (size_t i = 1; i < elements.size(); ++i) {
        const PathKind kind = KindOf(Join(dest, elements, i), entry);
        if (kind == PathKind::Link || kind == PathKind::Unknown)
            return kind;
    }
    return PathKind::Other;
}

// A ".." element climbs out of dest whatever follows it. The writer refuses one too, but only
// after this step has cleared the entry's way, so a folder entry "../../Documents/" would have
// unlinked the user's own ~/Documents link first: nothing named so may touch the disk.
bool ClimbsOut(const std::vector<std::string>& elements) {
    for (const std::string& element : elements)
        if (element == "..")
            return true;
    return false;
}

// A client is files, folders and links. A FIFO, socket or device node has no use in it, and
// as root the writer would make device nodes that open the machine's disks to whoever can
// reach the copy.
bool IsSpecialFile(archive_entry* entry) {
    switch (archive_entry_filetype(entry)) {
    case AE_IFIFO:
    case AE_IFSOCK:
    case AE_IFCHR:
    case AE_IFBLK:
        return true;
    default:
        return false;
    }
}

// The writer tells a hard or symbolic link by its target, whatever type the entry claims.
bool IsPlainFolder(archive_entry* entry) {
    return archive_entry_filetype(entry) == AE_IFDIR && !archive_entry_hardlink(entry) && !archive_entry_symlink(entry);
}

// Refusals decided by the entry alone, before anything on disk is looked at or changed; true
// when the entry was refused (and logged).
bool RefusedByHeader(archive_entry* entry, const char* path, const std::vector<std::string>& elements,
                     const std::vector<std::string>& target) {
    if (!*path) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent, "[ERROR] extractor(%d): Entry has an empty name: '%s'\n",
                       __LINE__, path);
        return true;
    }
    // The writer's own words for the same refusal, so the log reads alike whoever refuses.
    if (ClimbsOut(elements) || ClimbsOut(target)) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent,
                       "[ERROR] extractor(%d): archive_read_extract2 failed: '%s'\n", __LINE__, "Path contains '..'");
        return true;
    }
    if (IsSpecialFile(entry)) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent,
                       "[ERROR] extractor(%d): Entry is not a file, folder or link: '%s'\n", __LINE__, path);
        return true;
    }
    // The writer removes what stands where an entry goes: dest is fresh and empty, so a link
    // named "." would become the copy itself and send every later entry where it points. A
    // folder naming dest ("./" heads the output of `tar -cf pkg .`) only finds it there.
    if (elements.empty() && !IsPlainFolder(entry)) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent,
                       "[ERROR] extractor(%d): Entry would replace the destination folder: '%s'\n", __LINE__, path);
        return true;
    }
    return false;
}

// Refusals decided by what lies on the entry's way below dest; true when refused (and logged).
bool RefusedByWay(const ustring& dest, archive_entry* entry, const char* path, const std::vector<std::string>& elements,
                  const std::vector<std::string>& target) {
    const bool hardlink = archive_entry_hardlink(entry) != nullptr;
    PathKind way = WayThrough(dest, elements, path);
    if (way == PathKind::Other && hardlink)
        way = WayThrough(dest, target, path);
    if (way == PathKind::Unknown)
        return true;
    if (way == PathKind::Link) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent,
                       "[ERROR] extractor(%d): archive_read_extract2 failed: '%s'\n", __LINE__,
                       "Cannot extract through a symbolic link");
        return true;
    }
    if (!hardlink)
        return false;
    // A hard link to a symbolic link is that link once more, and the writer applies the entry's
    // mode to it with a chmod that follows it: a file anywhere would take the package's mode.
    const PathKind kind = KindOf(Join(dest, target, target.size()), path);
    if (kind == PathKind::Unknown)
        return true;
    if (kind == PathKind::Link) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent,
                       "[ERROR] extractor(%d): Hard link to a symbolic link: '%s'\n", __LINE__, path);
        return true;
    }
    return false;
}

// Decides whether an entry may reach the writer, and clears its way; a refused one has been
// logged. Whatever the names, types and order of the entries, nothing may land anywhere but
// strictly below dest, and a refused entry has changed nothing on disk.
bool PrepareEntry(const ustring& dest, archive_entry* entry, const char* path) {
    const std::vector<std::string> elements = NameElements(path);
    const char* hardlink = archive_entry_hardlink(entry);
    const std::vector<std::string> target = hardlink ? NameElements(hardlink) : std::vector<std::string>();
    if (RefusedByHeader(entry, path, elements, target) || RefusedByWay(dest, entry, path, elements, target))
        return false;
    // The writer makes a symbolic link of any entry that names a link target, then applies the
    // entry's mode as its type says: for a "file" (mtree allows "type=file link=..") that chmod
    // follows the new link out of dest. As a link, its mode is left alone.
    if (archive_entry_symlink(entry) && !hardlink)
        archive_entry_set_filetype(entry, AE_IFLNK);
    // The writer removes a link in the way of any entry but a folder: there it follows a link to
    // a folder and keeps it, so the package's folder would be a place outside. Removing the link
    // makes the folder the package's own, as with any other entry.
    const ustring own = Join(dest, elements, elements.size());
    if (!elements.empty() && IsPlainFolder(entry)) {
        const PathKind kind = KindOf(own, path);
        if (kind == PathKind::Unknown)
            return false;
        if (kind == PathKind::Link)
            unlink(own.c_str());
    }
    // The writer leaves the mode of a folder that is there already; but when dest is missing the
    // entry makes it, and a package's 0500 or 0000 would leave the copy unusable. It gets the
    // mode of the folders the writer makes on an entry's way instead.
    if (elements.empty())
        archive_entry_set_perm(entry, 0777);
    return true;
}

// Freeing also closes, so every return path releases what it created.
using Reader = std::unique_ptr<archive, decltype(&archive_read_free)>;
using Writer = std::unique_ptr<archive, decltype(&archive_write_free)>;

Reader NewReader() {
    return Reader(archive_read_new(), &archive_read_free);
}

int OpenReader(archive* a, const ustring& path) {
    archive_read_support_filter_all(a);
    archive_read_support_format_all(a);
    return archive_read_open_filename(a, path.c_str_utf8(), kBlockSize);
}

// libarchive leaves no text for some failures, and a null pointer must never reach the
// logger's %s. When the write side saw nothing wrong, the reason sits on the read side (a
// truncated archive fails while the writer copies its data): log that one, so the user's log
// says why.
const char* ErrorText(archive* a, archive* fallback = nullptr) {
    const char* text = archive_error_string(a);
    if (!text && fallback)
        text = archive_error_string(fallback);
    return text ? text : "(null)";
}

// The counting pass and the listing open the package alike; a null reader means the failure
// has been logged.
Reader OpenForListing(const ustring& src, const ustring& dest) {
    Reader none(nullptr, &archive_read_free);
    if (dest.empty() || src.empty()) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent, "[ERROR] extractor(%d): Invalid argument\n", __LINE__);
        return none;
    }
    Reader reader = NewReader();
    if (!reader) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent, "[ERROR] extractor(%d): Allocate archive failed\n",
                       __LINE__);
        return none;
    }
    if (OpenReader(reader.get(), src) != ARCHIVE_OK) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent,
                       "[ERROR] extractor(%d): archive_read_open_filename failed: '%s'\n", __LINE__,
                       ErrorText(reader.get()));
        return none;
    }
    return reader;
}

using EntryHook = std::function<int(const char* path)>;

uint64_t WholeBlocks(uint64_t bytes, uint64_t block_size) {
    return block_size == 0 ? 0 : (bytes + block_size - 1) / block_size * block_size;
}

// A hard link names an inode another entry makes. A link target short enough to sit in the
// inode itself (ext4 keeps up to 59 bytes there) takes no block.
void AddToFootprint(archive_entry* entry, uint64_t block_size, PackageFootprint& footprint) {
    if (archive_entry_hardlink(entry))
        return;
    ++footprint.inodes;
    const char* target = archive_entry_symlink(entry);
    if (target) {
        const size_t length = std::strlen(target);
        footprint.bytes += length < 60 ? 0 : WholeBlocks(length + 1, block_size);
    } else if (archive_entry_filetype(entry) == AE_IFDIR) {
        footprint.bytes += WholeBlocks(1, block_size);
    } else if (archive_entry_size_is_set(entry) && archive_entry_size(entry) > 0) {
        footprint.bytes += WholeBlocks(static_cast<uint64_t>(archive_entry_size(entry)), block_size);
    }
}

// Writes one entry below dest; false when it was refused or failed (logged, or refused by the
// caller's hook before anything was written).
bool WriteEntry(archive* reader, archive* writer, archive_entry* entry, const ustring& dest,
                const EntryHook& before_entry) {
    const char* path = archive_entry_pathname(entry);
    if (!path) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent, "[ERROR] extractor(%d): archive_entry_pathname failed\n",
                       __LINE__);
        return false;
    }
    if (!PrepareEntry(dest, entry, path))
        return false;
    if (before_entry && before_entry(path) != 0)
        return false;
    const char* hardlink = archive_entry_hardlink(entry);
    // Always joined with a "/", so even an absolute entry path lands below dest. A hard link
    // names another entry of the package, so its target is joined the same way; otherwise it
    // would be looked up from the working folder. Both are computed before either is set:
    // setting one may free the entry's texts.
    const ustring target = dest + "/" + ustring(path);
    const ustring link_target = hardlink ? dest + "/" + ustring(hardlink) : ustring();
    archive_entry_set_pathname(entry, target.c_str_utf8());
    if (hardlink)
        archive_entry_set_hardlink(entry, link_target.c_str_utf8());

    if (archive_read_extract2(reader, entry, writer) != ARCHIVE_OK) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent,
                       "[ERROR] extractor(%d): archive_read_extract2 failed: '%s'\n", __LINE__,
                       ErrorText(writer, reader));
        return false;
    }
    return true;
}

// The second pass: every entry in order, one progress report each, until the end or the first
// failure. 0 when the end was reached, else -1.
int WriteEntries(archive* reader, archive* writer, const ustring& dest, const EntryHook& before_entry, int total) {
    for (int index = 1;; ++index) {
        archive_entry* entry = nullptr;
        const int r = archive_read_next_header(reader, &entry);
        if (r == ARCHIVE_EOF)
            return 0;
        if (r != ARCHIVE_OK) {
            Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent,
                           "[ERROR] extractor(%d): archive_read_next_header failed: '%s'\n", __LINE__,
                           ErrorText(reader));
            return -1;
        }
        // The count may come from a pass made before the client was stopped; a package that
        // grew since then was never measured against the volume.
        if (index > total) {
            Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent,
                           "[ERROR] extractor(%d): The package holds more entries than the %d counted\n", __LINE__,
                           total);
            return -1;
        }
        if (!WriteEntry(reader, writer, entry, dest, before_entry))
            return -1;
        Notify_Adapter::GetInstance()->UpdateProgress(total, index);
        if (archive_write_finish_entry(writer) != ARCHIVE_OK) {
            Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent,
                           "[ERROR] extractor(%d): archive_write_finish_entry failed: '%s'\n", __LINE__,
                           ErrorText(writer, reader));
            return -1;
        }
    }
}

} // namespace

int Extractor::Extract() {
    if (src.empty() || dest.empty()) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent, "[ERROR] extractor(%d): Invalid Argument\n", __LINE__);
        return -1;
    }
    Logger::LogMsg(Logger::LEVEL_DEBUG, kLogComponent, "[DEBUG] extractor(%d): decompress from '%s' to '%s'\n",
                   __LINE__, src.c_str(), dest.c_str());
    Notify_Adapter::GetInstance()->UpdateDialogText(StrTable::LoadStr(445));

    // The first pass gives the dialog a denominator; an archive without entries is no package.
    const int total = counted > 0 ? counted : Count();
    if (total <= 0) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent,
                       "[ERROR] extractor(%d): Failed to calculate total file numbers, ret: %d\n", __LINE__, total);
        return -1;
    }

    Reader reader = NewReader();
    Writer writer(reader ? archive_write_disk_new() : nullptr, &archive_write_free);
    if (!reader || !writer) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent, "[ERROR] extractor(%d): Allocate extractor failed\n",
                       __LINE__);
        return -1;
    }
    archive_write_disk_set_options(writer.get(), kWriteOptions);

    if (OpenReader(reader.get(), src) != ARCHIVE_OK) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent, "[ERROR] extractor(%d): Failed to read file '%s' ('%s')\n",
                       __LINE__, src.c_str(), ErrorText(reader.get()));
        return -1;
    }
    return WriteEntries(reader.get(), writer.get(), dest, before_entry, total);
}

int Extractor::Count() {
    PackageFootprint unused;
    return Measure(0, unused);
}

int Extractor::Measure(uint64_t block_size, PackageFootprint& footprint) {
    footprint = PackageFootprint();
    Reader reader = OpenForListing(src, dest);
    if (!reader)
        return -1;
    // Damage ends the count silently: the extraction pass stops at the same place and says why.
    archive_entry* entry = nullptr;
    while (archive_read_next_header(reader.get(), &entry) == ARCHIVE_OK) {
        ++footprint.entries;
        AddToFootprint(entry, block_size, footprint);
        archive_read_data_skip(reader.get());
    }
    counted = footprint.entries;
    return footprint.entries;
}

int Extractor::List() {
    Reader reader = OpenForListing(src, dest);
    if (!reader)
        return -1;
    archive_entry* entry = nullptr;
    while (archive_read_next_header(reader.get(), &entry) == ARCHIVE_OK) {
        const char* path = archive_entry_pathname(entry);
        std::printf("%s\n", path ? path : "");
        std::fflush(stdout);
        archive_read_data_skip(reader.get());
    }
    archive_read_close(reader.get());
    return 0;
}

int Extractor::copy_data(struct archive* ar, struct archive* aw) {
    if (!ar || !aw) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent, "[ERROR] extractor(%d): Invalid Argument\n", __LINE__);
        return -1;
    }
    for (;;) {
        const void* buff = nullptr;
        size_t size = 0;
        la_int64_t offset = 0;
        const int r = archive_read_data_block(ar, &buff, &size, &offset);
        if (r == ARCHIVE_EOF)
            return 0;
        if (r != ARCHIVE_OK) {
            Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent,
                           "[ERROR] extractor(%d): archive_read_data_block failed: '%s'\n", __LINE__, ErrorText(ar));
            return -1;
        }
        if (archive_write_data_block(aw, buff, size, offset) != ARCHIVE_OK) {
            Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent,
                           "[ERROR] extractor(%d): archive_write_data_block failed: '%s'\n", __LINE__, ErrorText(aw));
            return -1;
        }
    }
}
