#pragma once

#include <map>
#include <string>
#include <vector>

// Reads keys of one section of an INFO file the way Qt's INI reader (QSettings::IniFormat)
// reads them, without handing the file to Qt: Qt decodes every value of a section that starts
// with '@' as a serialised object when it first reads that section, whatever key is asked for,
// and its decoders crash on damaged data. Here only the keys asked for are decoded, and a file
// is damaged only when one of them would decode as such an object. Used on the worker thread;
// keeps no state.
namespace versionfile {

// Fills values with those of the keys found in section (a key absent from the file is absent
// from values; the last of repeated keys wins). A missing file has no keys. Returns false, with why set, for a damaged
// file: not a regular file (a FIFO or device is never opened in a way that blocks), unreadable,
// too large, or one of the keys holds a serialised value. Values are UTF-8.
bool ReadSection(const std::string& path, const std::string& section, const std::vector<std::string>& keys,
                 std::map<std::string, std::string>& values, std::string& why);

} // namespace versionfile
