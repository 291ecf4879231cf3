#include "archive_builder.h"

#include <archive.h>
#include <archive_entry.h>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>

#include "file_tree.h"

namespace testsupport {

ArchiveBuilder& ArchiveBuilder::dir(const std::string& path, int mode) {
    entries_.push_back({path, "", "", AE_IFDIR, mode});
    return *this;
}

ArchiveBuilder& ArchiveBuilder::file(const std::string& path, const std::string& content, int mode) {
    entries_.push_back({path, content, "", AE_IFREG, mode});
    return *this;
}

ArchiveBuilder& ArchiveBuilder::symlink(const std::string& path, const std::string& target) {
    entries_.push_back({path, "", target, AE_IFLNK, 0777});
    return *this;
}

ArchiveBuilder& ArchiveBuilder::hardlink(const std::string& path, const std::string& target, const std::string& data) {
    entries_.push_back({path, data, target, 0, 0644});
    return *this;
}

bool ArchiveBuilder::write(const std::string& archive_path, Format format) const {
    archive* a = archive_write_new();
    if (!a)
        return false;
    int r = ARCHIVE_OK;
    switch (format) {
    case Tar:
        r = archive_write_set_format_pax_restricted(a);
        break;
    case TarGz:
        r = archive_write_set_format_pax_restricted(a);
        if (r == ARCHIVE_OK)
            r = archive_write_add_filter_gzip(a);
        break;
    case TarZstd:
        r = archive_write_set_format_pax_restricted(a);
        if (r == ARCHIVE_OK)
            r = archive_write_add_filter_zstd(a);
        break;
    case Zip:
        r = archive_write_set_format_zip(a);
        break;
    case SevenZip:
        r = archive_write_set_format_7zip(a);
        break;
    case Cpio:
        r = archive_write_set_format_cpio_newc(a);
        break;
    case Pax:
        r = archive_write_set_format_pax(a);
        break;
    case Ar:
        r = archive_write_set_format_ar_svr4(a);
        break;
    }
    if (r == ARCHIVE_OK)
        r = archive_write_open_filename(a, archive_path.c_str());
    archive_entry* e = archive_entry_new();
    for (const Entry& it : entries_) {
        if (r != ARCHIVE_OK)
            break;
        archive_entry_clear(e);
        archive_entry_set_pathname(e, it.path.c_str());
        archive_entry_set_filetype(e, it.type ? it.type : AE_IFREG);
        archive_entry_set_perm(e, it.mode);
        // A fraction of a second is what makes the pax writer give every entry its extended header.
        archive_entry_set_mtime(e, 1700000000, format == Pax ? 1 : 0);
        if (it.type == AE_IFLNK)
            archive_entry_set_symlink(e, it.link.c_str());
        else if (it.type == 0)
            archive_entry_set_hardlink(e, it.link.c_str());
        archive_entry_set_size(e, it.type == AE_IFREG ? static_cast<la_int64_t>(it.content.size()) : 0);
        r = archive_write_header(a, e);
        if (r == ARCHIVE_OK && it.type == AE_IFREG && !it.content.empty()) {
            la_ssize_t n = archive_write_data(a, it.content.data(), it.content.size());
            if (n != static_cast<la_ssize_t>(it.content.size()))
                r = ARCHIVE_FATAL;
        }
    }
    archive_entry_free(e);
    int closed = archive_write_close(a);
    archive_write_free(a);
    if (r != ARCHIVE_OK || closed != ARCHIVE_OK)
        return false;
    for (const Entry& it : entries_)
        if (it.type == 0 && !it.content.empty())
            return format == Pax && spliceHardlinkData(archive_path);
    return true;
}

// Gives each hard link with data its size in its ustar header and its data blocks after it.
// Headers are 512-byte blocks: name at 0, size at 124, checksum at 148, type flag at 156.
bool ArchiveBuilder::spliceHardlinkData(const std::string& archive_path) const {
    std::string tar = readFile(archive_path);
    size_t next = 0;
    for (const Entry& it : entries_) {
        if (it.type != 0 || it.content.empty())
            continue;
        size_t at = next;
        while (at + 512 <= tar.size() &&
               !(tar[at + 156] == '1' && it.path == tar.substr(at, it.path.size()) && tar[at + it.path.size()] == '\0'))
            at += 512;
        if (at + 512 > tar.size() || it.path.size() >= 100)
            return false;
        char* h = &tar[at];
        std::snprintf(h + 124, 12, "%011o", static_cast<unsigned>(it.content.size()));
        std::memset(h + 148, ' ', 8);
        unsigned sum = 0;
        for (int i = 0; i < 512; ++i)
            sum += static_cast<unsigned char>(h[i]);
        std::snprintf(h + 148, 8, "%06o", sum);
        std::string blocks = it.content;
        blocks.resize((it.content.size() + 511) / 512 * 512, '\0');
        tar.insert(at + 512, blocks);
        next = at + 512 + blocks.size();
    }
    return writeFile(archive_path, tar);
}

} // namespace testsupport
