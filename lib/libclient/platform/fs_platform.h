#pragma once

#include <dirent.h>
#include <string>

// The few file-system facilities that only macOS offers, behind functions of our own so that
// the file operations are written once. Each platform provides one implementation file; the
// build picks it. All are re-entrant and keep no state between calls.
namespace fsplatform {

// An opaque reference to an existing file-system object, valid only for FSRefMakePath.
struct FSRef {
    alignas(8) unsigned char opaque[4096];
};

// Resolves the path of an existing object (symbolic links, ".", "..", doubled "/") and records
// the spelling that the file system stores for every component, which differs from the
// caller's on a volume that ignores letter case. 0 on success, else the errno value.
int FSPathMakeRef(const unsigned char* path, FSRef* ref, bool* is_directory);

// Writes the absolute stored path of ref into buf (NUL-terminated, at most size bytes).
// 0 on success, else an errno value (ENAMETOOLONG when buf is too small).
int FSRefMakePath(const FSRef* ref, unsigned char* buf, unsigned long size);

// The type name of the file system that holds path, as macOS's statfs f_fstypename spells it
// for the types the file operations distinguish: "nfs", "smbfs", "afpfs", "msdos", and "fuse"
// (macOS: "macfuse") for a volume served by a FUSE process. Other
// types get a name of their own that matches none of these. 0, or -1 with errno set.
int FSTypeName(const char* path, std::string& name);

// The next entry of a directory stream, re-entrant for distinct streams, with the contract of
// readdir_r: 0 with *result null at the end, 0 with *result set for an entry, or an errno
// value. *result may point into entry or into the stream's own buffer; it stays valid until
// the next call on the same stream.
int ReadDirEntry(DIR* dir, struct dirent* entry, struct dirent** result);

} // namespace fsplatform
