// velmora-pack [--format tar.zst|tar.gz|zip] <client bundle folder> <package file>
//
// Writes a client bundle (the folder that holds Contents/) into a package archive for the
// launcher. The launcher decides whether a per-user copy is complete by looking only at the
// client executable and the version file, so those two are written last: an unpack that is
// interrupted never leaves a copy that looks finished to the next start.

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// In the order they are written, after everything else.
const char* const kCompletionMarkers[] = {"Contents/MacOS/cloud-ui", "Contents/Resources/INFO"};

int usage() {
    fprintf(stderr, "usage: velmora-pack [--format tar.zst|tar.gz|zip] <client bundle folder> <package file>\n");
    return 2;
}

bool isMarker(const std::string& rel) {
    return std::find_if(std::begin(kCompletionMarkers), std::end(kCompletionMarkers),
                        [&](const char* m) { return rel == m; }) != std::end(kCompletionMarkers);
}

// Every path below root, relative to it; sorted, so a folder comes before what it holds.
bool listTree(const fs::path& root, std::vector<std::string>& out) {
    std::error_code ec;
    fs::recursive_directory_iterator it(root, ec), end;
    for (; !ec && it != end; it.increment(ec))
        out.push_back(it->path().lexically_relative(root).generic_string());
    if (ec) {
        fprintf(stderr, "velmora-pack: cannot list '%s': %s\n", root.c_str(), ec.message().c_str());
        return false;
    }
    std::sort(out.begin(), out.end());
    return true;
}

class Writer {
public:
    explicit Writer(archive* a) : a_(a) {}

    bool add(const fs::path& root, const std::string& rel) {
        const std::string full = (root / rel).string();
        struct stat st;
        if (lstat(full.c_str(), &st) != 0)
            return fail(full, strerror(errno));

        archive_entry* e = archive_entry_new();
        // Names go in as the bytes they are on disk (UTF-8), never converted through the locale:
        // the C locale knows no charset but ASCII, so a conversion would refuse every other name.
        archive_entry_set_pathname(e, rel.c_str());
        // Owners are not restored on unpack; the packager's user ids have no business there.
        archive_entry_set_uid(e, 0);
        archive_entry_set_gid(e, 0);
        archive_entry_set_perm(e, st.st_mode & 0777);
        archive_entry_set_mtime(e, st.st_mtime, 0);

        bool ok = true;
        if (S_ISDIR(st.st_mode)) {
            archive_entry_set_filetype(e, AE_IFDIR);
            ok = writeHeader(e, full);
        } else if (S_ISLNK(st.st_mode)) {
            std::string target(static_cast<size_t>(st.st_size) + 1, '\0');
            const ssize_t n = readlink(full.c_str(), target.data(), target.size());
            if (n < 0) {
                archive_entry_free(e);
                return fail(full, strerror(errno));
            }
            target.resize(static_cast<size_t>(n));
            archive_entry_set_filetype(e, AE_IFLNK);
            archive_entry_set_symlink(e, target.c_str());
            ok = writeHeader(e, full);
        } else if (S_ISREG(st.st_mode)) {
            archive_entry_set_filetype(e, AE_IFREG);
            archive_entry_set_size(e, st.st_size);
            ok = writeHeader(e, full) && writeData(full);
        } else {
            archive_entry_free(e);
            return fail(full, "not a file, folder or symbolic link");
        }
        archive_entry_free(e);
        return ok;
    }

private:
    bool writeHeader(archive_entry* e, const std::string& full) {
        if (archive_write_header(a_, e) != ARCHIVE_OK)
            return fail(full, archive_error_string(a_));
        return true;
    }

    bool writeData(const std::string& full) {
        const int fd = open(full.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0)
            return fail(full, strerror(errno));
        std::vector<char> buf(64 * 1024);
        bool ok = true;
        for (;;) {
            const ssize_t n = read(fd, buf.data(), buf.size());
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0) {
                ok = fail(full, strerror(errno));
                break;
            }
            if (n == 0)
                break;
            if (archive_write_data(a_, buf.data(), static_cast<size_t>(n)) != n) {
                ok = fail(full, archive_error_string(a_));
                break;
            }
        }
        close(fd);
        return ok;
    }

    static bool fail(const std::string& path, const char* why) {
        fprintf(stderr, "velmora-pack: %s: %s\n", path.c_str(), why ? why : "unknown error");
        return false;
    }

    archive* a_;
};

// Names are stored as raw bytes, and marked so where the format has a mark: pax's "BINARY"
// header charset, which its reader also takes as is in any locale. Zip stores them as they are
// and flags them UTF-8 when the locale's charset is.
bool setFormat(archive* a, const std::string& format) {
    if (format == "zip")
        return archive_write_set_format_zip(a) == ARCHIVE_OK;
    const bool tar = format == "tar.gz" || format == "tar.zst";
    if (!tar || archive_write_set_format_pax_restricted(a) != ARCHIVE_OK ||
        archive_write_set_format_option(a, "pax", "hdrcharset", "BINARY") != ARCHIVE_OK)
        return false;
    return (format == "tar.gz" ? archive_write_add_filter_gzip(a) : archive_write_add_filter_zstd(a)) == ARCHIVE_OK;
}

} // namespace

int main(int argc, char** argv) {
    // The environment's locale, for libarchive's messages and zip's UTF-8 flag; names are
    // stored as bytes whatever it is.
    setlocale(LC_ALL, "");
    // zstd decodes in about half the time of gzip at the same size, and the unpack waits on it.
    std::string format = "tar.zst";
    std::vector<std::string> args;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--format") == 0 && i + 1 < argc)
            format = argv[++i];
        else if (argv[i][0] == '-')
            return usage();
        else
            args.push_back(argv[i]);
    }
    if (args.size() != 2)
        return usage();
    const fs::path root = args[0];
    const std::string out = args[1];

    std::vector<std::string> entries;
    if (!listTree(root, entries))
        return 1;
    for (const char* marker : kCompletionMarkers) {
        if (!fs::is_regular_file(root / marker)) {
            fprintf(stderr, "velmora-pack: '%s' is not a client bundle: %s is missing\n", root.c_str(), marker);
            return 1;
        }
    }
    entries.erase(std::remove_if(entries.begin(), entries.end(), isMarker), entries.end());
    entries.insert(entries.end(), std::begin(kCompletionMarkers), std::end(kCompletionMarkers));

    // Written beside the target and renamed at the end, so a failed run never leaves a
    // package that looks usable.
    const std::string partial = out + ".partial";
    archive* a = archive_write_new();
    if (!a || !setFormat(a, format)) {
        fprintf(stderr, "velmora-pack: unsupported format '%s' (tar.gz, tar.zst or zip)\n", format.c_str());
        archive_write_free(a);
        return 2;
    }
    if (archive_write_open_filename(a, partial.c_str()) != ARCHIVE_OK) {
        fprintf(stderr, "velmora-pack: cannot write '%s': %s\n", partial.c_str(), archive_error_string(a));
        archive_write_free(a);
        return 1;
    }
    Writer writer(a);
    bool ok = true;
    for (const std::string& rel : entries)
        if (!(ok = writer.add(root, rel)))
            break;
    if (archive_write_close(a) != ARCHIVE_OK) {
        fprintf(stderr, "velmora-pack: cannot finish '%s': %s\n", partial.c_str(), archive_error_string(a));
        ok = false;
    }
    archive_write_free(a);
    if (ok && rename(partial.c_str(), out.c_str()) != 0) {
        fprintf(stderr, "velmora-pack: cannot rename to '%s': %s\n", out.c_str(), strerror(errno));
        ok = false;
    }
    if (!ok)
        unlink(partial.c_str());
    return ok ? 0 : 1;
}
