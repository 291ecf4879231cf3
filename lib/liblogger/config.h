#pragma once

#include <map>

#include "ustring.h"

// A strict reader of key=value files (the logger's debug switch file, the client's pid file).
// Any line it cannot parse makes the whole file count as unreadable: the map is emptied.
// A plain value owned by one thread; it keeps no file open after read() returns.
class Config {
public:
    typedef std::map<ustring, ustring> Map;

    // 0 on success; -1 when the path is empty, the file cannot be opened or a line is malformed.
    int read(const ustring& path);
    // The value read as a decimal integer; 0 when it is not a number. Inserts an absent key.
    int get_int(const ustring& key);
    // Returns the value, inserting the key with an empty value when it is absent.
    ustring& operator[](const ustring& key) { return entries[key]; }

    Map::const_iterator begin() const { return entries.begin(); }
    Map::const_iterator end() const { return entries.end(); }
    Map::size_type size() const { return entries.size(); }

private:
    Map entries;
};

// The bodies are inline so that the macOS service can read the pid file without linking the logger.
#include "config_inl.h"
