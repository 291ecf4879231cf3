#pragma once

#include <string>
#include <vector>

namespace testsupport {

// Writes archives with libarchive's own writer, so test data is made in a few readable lines
// instead of being checked in as blobs.
class ArchiveBuilder {
public:
    enum Format { Tar, TarGz, TarZstd, Zip, SevenZip, Cpio };

    ArchiveBuilder& dir(const std::string& path);
    ArchiveBuilder& file(const std::string& path, const std::string& content, int mode = 0644);
    ArchiveBuilder& symlink(const std::string& path, const std::string& target);
    // A hard link to an entry added before it (target is that entry's path).
    ArchiveBuilder& hardlink(const std::string& path, const std::string& target);

    // Writes the entries in the order they were added; false when libarchive fails.
    bool write(const std::string& archive_path, Format format = TarGz) const;
    size_t entries() const { return entries_.size(); }

private:
    struct Entry {
        std::string path;
        std::string content;
        std::string link;
        int type; // AE_IFREG, AE_IFDIR, AE_IFLNK; 0 for a hard link
        int mode;
    };
    std::vector<Entry> entries_;
};

} // namespace testsupport
