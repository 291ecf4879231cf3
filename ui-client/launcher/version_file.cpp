#include "version_file.h"

#include <QChar>
#include <QString>
#include <QStringList>
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

namespace versionfile {
namespace {

// An INFO holds four short lines; anything near this size is not one.
const off_t kMaxInfoSize = 1 << 20;

bool IsIniSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// The next logical line, split as Qt's INI reader splits them: ';' at its start makes a comment
// line and after it ends the line unless quoted; a quoted or escaped line break continues it.
// eq is the position of the first unquoted '=', or npos.
bool NextLine(const std::string& d, size_t& pos, size_t& start, size_t& len, size_t& eq) {
    bool quoted = false;
    eq = std::string::npos;
    start = pos;
    while (start < d.size() && IsIniSpace(d[start]))
        ++start;
    size_t i = start;
    while (i < d.size()) {
        const char ch = d[i++];
        if (ch == '=') {
            if (!quoted && eq == std::string::npos)
                eq = i - 1;
        } else if (ch == '\n' || ch == '\r') {
            if (i == start + 1)
                ++start;
            else if (!quoted) {
                --i;
                break;
            }
        } else if (ch == '\\') {
            if (i < d.size()) {
                const char next = d[i++];
                if (i < d.size() && ((next == '\n' && d[i] == '\r') || (next == '\r' && d[i] == '\n')))
                    ++i;
            }
        } else if (ch == '"') {
            quoted = !quoted;
        } else if (ch == ';') {
            if (i == start + 1) {
                while (i < d.size() && d[i] != '\n' && d[i] != '\r')
                    ++i;
                while (i < d.size() && IsIniSpace(d[i]))
                    ++i;
                start = i;
            } else if (!quoted) {
                --i;
                break;
            }
        }
    }
    pos = i;
    len = i - start;
    return len > 0;
}

// A key or section name with Qt's escapes undone: '\' stands for '/', %XX and %UXXXX for a
// character. Characters beyond ASCII become DEL: no key asked for holds one.
std::string UnescapedKey(const std::string& d, size_t from, size_t to) {
    std::string out;
    for (size_t i = from; i < to;) {
        const char ch = d[i];
        const size_t digits = i + 1 < to && d[i + 1] == 'U' ? 4 : 2;
        const size_t first = i + 1 + (digits == 4);
        if (ch != '%' || i == to - 1 || first + digits > to ||
            d.find_first_not_of("0123456789abcdefABCDEF", first) < first + digits) {
            out += (ch & 0x80) ? '\x7f' : ch;
            ++i;
            continue;
        }
        const unsigned long code = strtoul(d.substr(first, digits).c_str(), nullptr, 16);
        out += code < 0x80 ? static_cast<char>(code) : '\x7f';
        i = first + digits;
    }
    return out;
}

const char kEscapes[][2] = {{'a', '\a'}, {'b', '\b'}, {'f', '\f'}, {'n', '\n'},  {'r', '\r'}, {'t', '\t'},
                            {'v', '\v'}, {'"', '"'},  {'?', '?'},  {'\'', '\''}, {'\\', '\\'}};

void ChopTrailingSpaces(QString& text, int limit) {
    int n = text.size();
    while (n > limit && (text.at(n - 1) == QLatin1Char(' ') || text.at(n - 1) == QLatin1Char('\t')))
        --n;
    text.truncate(n);
}

// A numeric escape (\x.. or \ooo): its digits from i on, added as one character.
size_t NumericEscape(const std::string& d, size_t i, size_t to, int base, QString& out) {
    unsigned value = 0;
    for (; i < to; ++i) {
        const char c = d[i];
        const int digit = (c >= '0' && c <= '9')   ? c - '0'
                          : (c >= 'a' && c <= 'f') ? c - 'a' + 10
                          : (c >= 'A' && c <= 'F') ? c - 'A' + 10
                                                   : 99;
        if (digit >= base)
            break;
        value = (value * static_cast<unsigned>(base) + static_cast<unsigned>(digit)) & 0xffff;
    }
    out += QChar(static_cast<ushort>(value));
    return i;
}

// Qt's reading of a value: blanks skipped before it and chopped after it unless quoted, quotes
// removed, C escapes decoded, bytes taken as Latin-1 (UTF-8 in a file that starts with its byte
// order mark), and unquoted commas making a list.
QStringList UnescapedValue(const std::string& d, size_t i, size_t to, bool utf8) {
    QStringList list;
    QString text;
    bool quoted = false, was_quoted = false;
    int limit = 0;
    for (bool skip = true; i < to;) {
        while (skip && i < to && (d[i] == ' ' || d[i] == '\t'))
            ++i;
        skip = false;
        if (i >= to)
            break;
        const char ch = d[i];
        if (ch == '\\') {
            if (++i >= to)
                break;
            const char e = d[i++];
            const auto* code =
                std::find_if(std::begin(kEscapes), std::end(kEscapes), [e](auto& c) { return c[0] == e; });
            if (code != std::end(kEscapes))
                text += QLatin1Char(code[0][1]);
            else if (e == 'x' && i < to && isxdigit(static_cast<unsigned char>(d[i])))
                i = NumericEscape(d, i, to, 16, text);
            else if (e >= '0' && e <= '7')
                i = NumericEscape(d, i - 1, to, 8, text);
            else if ((e == '\n' || e == '\r') && i < to && (d[i] == '\n' || d[i] == '\r') && d[i] != e)
                ++i;
            limit = text.size();
        } else if (ch == '"') {
            ++i;
            was_quoted = true;
            quoted = !quoted;
            skip = !quoted;
            if (skip)
                limit = text.size();
        } else if (ch == ',' && !quoted) {
            if (!was_quoted)
                ChopTrailingSpaces(text, limit);
            list.append(text);
            text.clear();
            was_quoted = false;
            limit = 0;
            ++i;
            skip = true;
        } else {
            const size_t end = std::min(d.find_first_of("\\\",", i + 1), to);
            const int n = static_cast<int>(end - i);
            text += utf8 ? QString::fromUtf8(d.data() + i, n) : QString::fromLatin1(d.data() + i, n);
            i = end;
        }
    }
    if (!was_quoted)
        ChopTrailingSpaces(text, limit);
    if (!list.isEmpty())
        list.append(text);
    return list.isEmpty() ? QStringList{text} : list;
}

// The file's bytes; a missing file reads as empty, as it does for Qt. Never blocks on a FIFO or
// device, which are refused before any read.
bool ReadRegularFile(const std::string& path, std::string& data, std::string& why) {
    struct stat st;
    if (stat(path.c_str(), &st) != 0) {
        why = strerror(errno);
        return errno == ENOENT;
    }
    if (!S_ISREG(st.st_mode)) {
        why = "not a regular file";
        return false;
    }
    // Checked again on what was opened: the name may have been swapped in between.
    const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0 || fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || st.st_size > kMaxInfoSize) {
        why = fd < 0 ? strerror(errno) : !S_ISREG(st.st_mode) ? "not a regular file" : "too large";
        if (fd >= 0)
            close(fd);
        return false;
    }
    char buf[8192];
    ssize_t n = 0;
    while (data.size() <= static_cast<size_t>(kMaxInfoSize) &&
           ((n = read(fd, buf, sizeof(buf))) > 0 || (n < 0 && errno == EINTR)))
        data.append(buf, static_cast<size_t>(n > 0 ? n : 0));
    const int err = errno;
    close(fd);
    if (n != 0)
        why = n < 0 ? strerror(err) : "too large";
    return n == 0;
}

} // namespace

bool ReadSection(const std::string& path, const std::string& section, const std::vector<std::string>& keys,
                 std::map<std::string, std::string>& values, std::string& why) {
    std::string d;
    if (!ReadRegularFile(path, d, why))
        return false;
    std::string current; // "" for the general section, else its name and '/'
    const bool utf8 = d.compare(0, 3, "\xef\xbb\xbf") == 0;
    size_t pos = utf8 ? 3 : 0, start = 0, len = 0, eq = 0;
    while (NextLine(d, pos, start, len, eq)) {
        if (d[start] == '[') {
            const size_t close = d.find(']', start);
            const size_t end = close < start + len ? close : start + len;
            size_t from = start + 1, to = end;
            while (from < to && isspace(static_cast<unsigned char>(d[from])))
                ++from;
            while (to > from && isspace(static_cast<unsigned char>(d[to - 1])))
                --to;
            const std::string name = d.substr(from, to - from);
            current = strcasecmp(name.c_str(), "general") == 0    ? ""
                      : strcasecmp(name.c_str(), "%general") == 0 ? "general/"
                                                                  : UnescapedKey(d, from, to) + "/";
            continue;
        }
        if (eq == std::string::npos)
            continue;
        size_t key_end = eq;
        while (key_end > start && (d[key_end - 1] == ' ' || d[key_end - 1] == '\t'))
            --key_end;
        // Qt never finds a key whose own name holds a '/' (or '\\', its escape) within a group.
        const std::string name = UnescapedKey(d, start, key_end);
        if (name.find_first_of("/\\") != std::string::npos)
            continue;
        const std::string key = current + name;
        const auto wanted =
            std::find_if(keys.begin(), keys.end(), [&](const std::string& k) { return section + "/" + k == key; });
        if (wanted == keys.end())
            continue;
        const QStringList value = UnescapedValue(d, eq + 1, start + len, utf8);
        for (const QString& item : value)
            if (item.startsWith(QLatin1Char('@'))) {
                why = "'" + *wanted + "' holds a serialised value";
                return false;
            }
        // Qt gives a list of several values as an empty text.
        values[*wanted] = value.size() == 1 ? value.front().toUtf8().toStdString() : std::string();
    }
    return true;
}

} // namespace versionfile
