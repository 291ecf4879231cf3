#pragma once

#include <dirent.h>
#include <string>
#include <sys/types.h>
#include <vector>

// The few file-system facilities that only macOS offers, behind functions of our own so that
// the file operations are written once. Each platform provides one implementation file; the
// build picks it. The names are our own, so that a macOS implementation can call CoreServices
// (FSRef, FSPathMakeRef, FSRefMakePath) without a clash. All are re-entrant and keep no state
// between calls. Every function returns 0 on success, else the errno value; none sets errno.
namespace fsplatform {

// An opaque reference to an existing file-system object, valid only for StoredPathText.
struct StoredPathRef {
    alignas(8) unsigned char opaque[4096];
};

// Resolves the path of an existing object (symbolic links, ".", "..", doubled "/") and records
// the spelling that the file system stores for every component, which differs from the
// caller's on a volume that ignores letter case. is_directory may be null.
int MakeStoredPathRef(const unsigned char* path, StoredPathRef* ref, bool* is_directory);

// Writes the absolute stored path of ref into buf (NUL-terminated, at most size bytes);
// ENAMETOOLONG when buf is too small.
int StoredPathText(const StoredPathRef* ref, unsigned char* buf, unsigned long size);

// The type name of the file system that holds path, as macOS's statfs f_fstypename spells it
// for the types the file operations distinguish: "nfs", "smbfs", "afpfs", "msdos" (any FAT
// volume, also one served through FUSE). Other types get a name of their own that matches none
// of these.
int FileSystemTypeName(const char* path, std::string& name);

// Whether one SyncVolume makes everything on the volume that holds path durable. Not on a FUSE
// volume: the kernel forwards syncfs to no ordinary FUSE server, only fsync.
bool VolumeSyncReachesStorage(const char* path);

// Makes everything written to the volume that holds path durable, in one call (one journal
// commit, whatever the number of files). 0 on success, else the errno value.
int SyncVolume(const char* path);

// The next entry of a directory stream, re-entrant for distinct streams, with the contract of
// readdir_r: 0 with *result null at the end, 0 with *result set for an entry. *result may point
// into entry or into the stream's own buffer; it stays valid until the next call on the stream.
int ReadDirEntry(DIR* dir, struct dirent* entry, struct dirent** result);

// What the system records about a running process: the program file it runs, its arguments,
// its working folder and its real user. On Linux the program is /proc/PID/exe; a program file
// that was removed or replaced since it started keeps its old path, flagged program_deleted.
struct ProcessRecord {
    std::string program;
    bool program_deleted = false;
    std::vector<std::string> arguments;
    std::string working_folder; // empty when the system does not tell
    uid_t real_uid = 0;
};

// Fills record for process pid. ESRCH when there is no such process; EACCES or EPERM when the
// system does not say what another user's process runs. Only a snapshot: the pid may be reused
// at any moment after the call.
int ReadProcessRecord(pid_t pid, ProcessRecord* record);

// A hold on one process that its pid cannot outlive: once taken, a signal sent through it reaches
// that process or fails with ESRCH, never a newcomer that reuses the number (on Linux a pidfd;
// where the system has none, the bare pid, with the old race). Closed by its destructor.
class ProcessHold {
public:
    ProcessHold() = default;
    ~ProcessHold();
    ProcessHold(const ProcessHold&) = delete;
    ProcessHold& operator=(const ProcessHold&) = delete;

    // Takes the hold on pid: 0, or ESRCH when there is no such process.
    int Open(pid_t pid);
    // kill(2) through the hold, signal 0 included: 0, or the errno value.
    int Signal(int sig) const;

private:
    pid_t pid_ = 0;
    int fd_ = -1;
};

} // namespace fsplatform
