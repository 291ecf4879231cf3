#include "archive_builder.h"

#include <archive.h>
#include <archive_entry.h>
#include <sys/stat.h>

namespace testsupport {

ArchiveBuilder& ArchiveBuilder::dir(const std::string& path) {
    entries_.push_back({path, "", "", AE_IFDIR, 0755});
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

ArchiveBuilder& ArchiveBuilder::hardlink(const std::string& path, const std::string& target) {
    entries_.push_back({path, "", target, 0, 0644});
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
        archive_entry_set_mtime(e, 1700000000, 0);
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
    return r == ARCHIVE_OK && closed == ARCHIVE_OK;
}

} // namespace testsupport
