#pragma once

// Inline definitions of Config. Config is header-only so that the macOS service can read the
// client's pid file without linking the logger; config.h includes this file at its end.

#include <cstdio>
#include <sstream>
#include <string>

namespace velmora_config_detail {

// White space is judged on bytes, never through the C locale, so a UTF-8 file parses the same
// whatever locale the process runs in.
inline bool IsSpace(unsigned char c) {
    return c == ' ' || (c >= 9 && c <= 13);
}

inline bool IsKeyByte(unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == '.' ||
           c == '-';
}

inline bool IsControl(unsigned char c) {
    return c < 32 || c == 127;
}

enum class LineResult { Entry, Ignored, Error };

// Parses one line in place: on LineResult::Entry, key and value point into the buffer and are
// cut off with terminating zeros written over the bytes that follow them.
inline LineResult ParseLine(char* line, const char** key, const char** value) {
    unsigned char* p = reinterpret_cast<unsigned char*>(line);
    while (IsSpace(*p))
        ++p;

    unsigned char* key_begin = p;
    while (IsKeyByte(*p))
        ++p;
    unsigned char* key_end = p;
    // A missing '\n' means this is the unterminated last line (or the tail of an overlong
    // one); a key with nothing after it there is tolerated, as is anything commented out.
    if (*p == '\0' || *p == '#')
        return LineResult::Ignored;

    while (IsSpace(*p))
        ++p;
    if (*p != '=')
        return LineResult::Error;
    ++p;
    while (IsSpace(*p))
        ++p;
    if (*p == '\0')
        return LineResult::Error;

    unsigned char* value_begin;
    unsigned char* value_end;
    if (*p == '"' || *p == '\'') {
        const unsigned char quote = *p++;
        value_begin = p;
        while (*p != quote) {
            if (IsControl(*p))
                return LineResult::Error;
            ++p;
        }
        value_end = p++;
    } else {
        value_begin = p;
        while (*p != ' ' && !IsControl(*p))
            ++p;
        value_end = p;
    }

    while (IsSpace(*p))
        ++p;
    if (*p != '\0' && *p != '#')
        return LineResult::Error;

    // Only now that the line is known to be valid: the key may end right on the '=' and the
    // value on the byte the trailing check has just looked at.
    *key_end = '\0';
    *value_end = '\0';
    *key = reinterpret_cast<const char*>(key_begin);
    *value = reinterpret_cast<const char*>(value_begin);
    return LineResult::Entry;
}

} // namespace velmora_config_detail

inline int Config::read(const ustring& path) {
    if (path.empty())
        return -1;
    FILE* fp = fopen(path.c_str(), "r");
    if (!fp)
        return -1;

    // A line longer than the buffer arrives in pieces, each parsed as a line of its own.
    char line[8192];
    int result = 0;
    while (fgets(line, sizeof(line), fp)) {
        const char* key = nullptr;
        const char* value = nullptr;
        const velmora_config_detail::LineResult r = velmora_config_detail::ParseLine(line, &key, &value);
        if (r == velmora_config_detail::LineResult::Error) {
            // A half-read file must not pass for a valid one: callers test keys for emptiness.
            entries.clear();
            result = -1;
            break;
        }
        if (r == velmora_config_detail::LineResult::Entry)
            entries[ustring(key)] = ustring(value);
    }
    fclose(fp);
    return result;
}

inline int Config::get_int(const ustring& key) {
    const ustring& text = (*this)[key];
    std::istringstream in(std::string(text.c_str(), text.size()));
    int number = 0;
    // The stream stores the nearest limit on overflow; a value out of range is no usable level
    // or pid, so it reads as "not a number" like any other failed extraction.
    if (!(in >> number))
        return 0;
    return number;
}
