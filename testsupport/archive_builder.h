#pragma once

#include <string>
#include <vector>

namespace testsupport {

// Writes archives with libarchive's own writer, so test data is made in a few readable lines
// instead of being checked in as blobs.
class ArchiveBuilder {
public:
    // Tar is restricted pax (ustar unless a field needs more); Pax always writes the extended
    // header where it can; Ar is the GNU/SVR4 variant, whose "/" and "//" members are the symbol
    // and long-name tables.
    enum Format { Tar, TarGz, TarZstd, Zip, SevenZip, Cpio, Pax, Ar };

    ArchiveBuilder& dir(const std::string& path, int mode = 0755);
    ArchiveBuilder& file(const std::string& path, const std::string& content, int mode = 0644);
    ArchiveBuilder& symlink(const std::string& path, const std::string& target);
    // A hard link to an entry added before it (target is that entry's path). Pax lets a hard
    // link carry data; libarchive's writer drops it, so for Pax the data is put back into the
    // written archive afterwards, and any other format with data fails to write.
    ArchiveBuilder& hardlink(const std::string& path, const std::string& target, const std::string& data = "");

    // Writes the entries in the order they were added; false when libarchive fails.
    bool write(const std::string& archive_path, Format format = TarGz) const;
    size_t entries() const { return entries_.size(); }

private:
    bool spliceHardlinkData(const std::string& archive_path) const;

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
