#include "extractor.h"

#include <archive.h>
#include <archive_entry.h>
#include <cstdio>
#include <memory>
#include <sys/stat.h>

#include "log.h"
#include "notify_adapter.h"
#include "str_table.h"

namespace {

const char kLogComponent[] = "extractor_debug";
const size_t kBlockSize = 10240;

// Replace what is in the way and refuse ".." so no entry can climb out of the destination;
// owners, times and full permissions are deliberately not restored from the package.
const int kWriteOptions = ARCHIVE_EXTRACT_UNLINK | ARCHIVE_EXTRACT_SECURE_NODOTDOT | ARCHIVE_EXTRACT_MAC_METADATA;

// True when a folder on the way from dest to the entry's own name is a symbolic link on disk.
// The writer refuses ".." but follows links, so a package that first writes a link pointing
// out of dest could then place files through it, anywhere the user may write. The last name
// may be a link: the writer replaces it rather than following it.
bool PassesThroughLink(const ustring& dest, const char* path) {
    ustring prefix = dest + "/";
    for (const char* p = path; *p; ++p) {
        if (*p == '/' && p != path && p[-1] != '/') {
            struct stat st;
            if (lstat(prefix.c_str(), &st) == 0 && S_ISLNK(st.st_mode))
                return true;
        }
        prefix += *p;
    }
    return false;
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
    const int total = Count();
    if (total <= 0) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent,
                       "[ERROR] extractor(%d): Failed to calculate total file numbers, ret: %d\n", __LINE__, total);
        return -1;
    }

    Reader reader = NewReader();
    if (!reader) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent, "[ERROR] extractor(%d): Allocate extractor failed\n",
                       __LINE__);
        return -1;
    }
    Writer writer(archive_write_disk_new(), &archive_write_free);
    if (!writer) {
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

    int result = 0;
    for (int index = 1;; ++index) {
        archive_entry* entry = nullptr;
        const int r = archive_read_next_header(reader.get(), &entry);
        if (r == ARCHIVE_EOF)
            break;
        if (r != ARCHIVE_OK) {
            Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent,
                           "[ERROR] extractor(%d): archive_read_next_header failed: '%s'\n", __LINE__,
                           ErrorText(reader.get()));
            result = -1;
            break;
        }
        const char* path = archive_entry_pathname(entry);
        if (!path) {
            Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent, "[ERROR] extractor(%d): archive_entry_pathname failed\n",
                           __LINE__);
            result = -1;
            break;
        }
        const char* hardlink = archive_entry_hardlink(entry);
        if (PassesThroughLink(dest, path) || (hardlink && PassesThroughLink(dest, hardlink))) {
            Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent,
                           "[ERROR] extractor(%d): archive_read_extract2 failed: '%s'\n", __LINE__,
                           "Cannot extract through a symbolic link");
            result = -1;
            break;
        }
        if (before_entry && before_entry(path) != 0) {
            result = -1;
            break;
        }
        // Always joined with a "/", so even an absolute entry path lands below dest. A hard
        // link names another entry of the package, so its target is joined the same way;
        // otherwise it would be looked up from the working folder. Both are computed before
        // either is set: setting one may free the entry's texts.
        const ustring target = dest + "/" + ustring(path);
        const ustring link_target = hardlink ? dest + "/" + ustring(hardlink) : ustring();
        archive_entry_set_pathname(entry, target.c_str_utf8());
        if (hardlink)
            archive_entry_set_hardlink(entry, link_target.c_str_utf8());

        if (archive_read_extract2(reader.get(), entry, writer.get()) != ARCHIVE_OK) {
            Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent,
                           "[ERROR] extractor(%d): archive_read_extract2 failed: '%s'\n", __LINE__,
                           ErrorText(writer.get(), reader.get()));
            result = -1;
            break;
        }
        Notify_Adapter::GetInstance()->UpdateProgress(total, index);

        if (archive_write_finish_entry(writer.get()) != ARCHIVE_OK) {
            Logger::LogMsg(Logger::LEVEL_ERROR, kLogComponent,
                           "[ERROR] extractor(%d): archive_write_finish_entry failed: '%s'\n", __LINE__,
                           ErrorText(writer.get(), reader.get()));
            result = -1;
            break;
        }
    }
    return result;
}

int Extractor::Count() {
    Reader reader = OpenForListing(src, dest);
    if (!reader)
        return -1;
    // Damage ends the count silently: the extraction pass stops at the same place and says why.
    int count = 0;
    archive_entry* entry = nullptr;
    while (archive_read_next_header(reader.get(), &entry) == ARCHIVE_OK) {
        ++count;
        archive_read_data_skip(reader.get());
    }
    return count;
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
