#include "ustring.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <new>
#include <stdexcept>
#include <string_view>
#include <utility>

#include <unicode/unorm2.h>
#include <unicode/ustring.h>

const unsigned long ustring::npos;

namespace {

// The capacity rule: keep the buffer while it holds the need and is at most twice as big,
// otherwise reallocate to exactly the need. realloc keeps the old block when it fails, so
// throwing here leaves the string as it was. A need of 0 asks for nothing (every buffer holds
// at least its NUL), and realloc to 0 bytes would free the block and return null, leaving a
// freed pointer behind for the destructor to free again.
template <typename T> void fit(T*& buf, unsigned long& cap, unsigned long need) {
    if (need == 0 || (cap >= need && cap / 2 <= need))
        return;
    if (need > SIZE_MAX / sizeof(T))
        throw std::bad_alloc();
    void* p = std::realloc(buf, need * sizeof(T));
    if (!p)
        throw std::bad_alloc();
    buf = static_cast<T*>(p);
    cap = need;
}

// Need for appending k elements to len of them plus the NUL; a wrapped sum would pass the
// capacity check and let the copy run past the buffer.
unsigned long need_for(unsigned long len, unsigned long k) {
    if (k > ULONG_MAX - len - 1)
        throw std::bad_alloc();
    return len + k + 1;
}

unsigned long units_len(const unsigned short* s, unsigned long max) {
    unsigned long n = 0;
    while (n < max && s[n] != 0)
        ++n;
    return n;
}

// ICU takes capacities as int32_t; a larger buffer is simply not used beyond that.
int32_t icu_cap(unsigned long cap) {
    return static_cast<int32_t>(std::min<unsigned long>(cap, INT32_MAX));
}

UChar* as_uchar(unsigned short* p) {
    return reinterpret_cast<UChar*>(p);
}

// Conversion failures go to standard error: the logger is built on this type, so this
// library cannot report through it.
void warn(const char* what, UErrorCode code, int line) {
    std::cerr << "Warning: " << what << ": error code " << static_cast<int>(code) << " at line " << line << std::endl;
}

unsigned long from_view(std::string_view::size_type r) {
    return r == std::string_view::npos ? ustring::npos : r;
}

// Start of a backward scan: the last byte unless pos names an earlier one.
unsigned long back_start(unsigned long pos, unsigned long len) {
    return pos >= len ? len - 1 : pos;
}

unsigned char fold_ascii(unsigned char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c + 32) : c;
}

} // namespace

ustring::ustring() : data(nullptr), data_len(0), data_cap(0), wdata(nullptr), wdata_len(0), wdata_cap(0) {
    try {
        init();
    } catch (...) {
        // No destructor runs for a constructor that throws.
        std::free(data);
        std::free(wdata);
        throw;
    }
}

// Each constructor delegates to ustring(), so the destructor frees the buffers when the
// append or assign in its body throws.
ustring::ustring(const ustring& s) : ustring() {
    assign(s, 0, npos);
}

ustring::ustring(const char* s) : ustring() {
    append(s);
}

ustring::ustring(const unsigned short* s) : ustring() {
    append(s);
}

ustring::ustring(const std::string& s) : ustring() {
    append(s, 0, npos);
}

ustring::ustring(char c) : ustring() {
    append(c, 1);
}

ustring::~ustring() {
    std::free(data);
    std::free(wdata);
    data = nullptr;
    wdata = nullptr;
}

void ustring::init() {
    char* d = static_cast<char*>(std::realloc(data, 4));
    if (!d)
        throw std::bad_alloc();
    data = d;
    data_cap = 4;
    clear_data();
    auto* w = static_cast<unsigned short*>(std::realloc(wdata, 4 * sizeof(unsigned short)));
    if (!w) {
        // The old view no longer matches the emptied text.
        if (wdata)
            clear_wdata();
        throw std::bad_alloc();
    }
    wdata = w;
    wdata_cap = 4;
    clear_wdata();
}

void ustring::clear() {
    clear_data();
    clear_wdata();
}

void ustring::clear_data() {
    data_len = 0;
    data[0] = '\0';
}

void ustring::clear_wdata() const {
    wdata_len = 0;
    wdata[0] = 0;
}

void ustring::realloc_data(unsigned long n) {
    fit(data, data_cap, n);
    // A shrink below the text must not leave the length pointing past the buffer.
    if (data_len >= data_cap) {
        data_len = data_cap - 1;
        data[data_len] = '\0';
        clear_wdata();
    }
}

void ustring::realloc_wdata(unsigned long n) const {
    fit(wdata, wdata_cap, n);
    if (wdata_len >= wdata_cap)
        clear_wdata();
}

int ustring::convert_from_data() const {
    UErrorCode err = U_ZERO_ERROR;
    int32_t len = 0;
    u_strFromUTF8(nullptr, 0, &len, data, -1, &err);
    err = U_ZERO_ERROR;
    fit(wdata, wdata_cap, static_cast<unsigned long>(std::max(len, 0)) + 1);
    u_strFromUTF8(as_uchar(wdata), icu_cap(wdata_cap), &len, data, -1, &err);
    if (U_FAILURE(err)) {
        warn("u_strFromUTF8", err, __LINE__);
        clear_wdata();
        return -1;
    }
    wdata_len = static_cast<unsigned long>(len);
    wdata[wdata_len] = 0;
    return 0;
}

int ustring::convert_from_wdata() {
    UErrorCode err = U_ZERO_ERROR;
    int32_t len = 0;
    u_strToUTF8(nullptr, 0, &len, as_uchar(wdata), -1, &err);
    err = U_ZERO_ERROR;
    fit(data, data_cap, static_cast<unsigned long>(std::max(len, 0)) + 1);
    u_strToUTF8(data, icu_cap(data_cap), &len, as_uchar(wdata), -1, &err);
    if (U_FAILURE(err)) {
        warn("u_strToUTF8", err, __LINE__);
        clear();
        return -1;
    }
    data_len = static_cast<unsigned long>(len);
    data[data_len] = '\0';
    return 0;
}

ustring& ustring::assign(const ustring& s, unsigned long pos, unsigned long n) {
    if (&s == this) {
        // The substring must exist before our own text is cleared; it also throws first.
        ustring part = substr(pos, n);
        clear();
        return append(part.data, part.data_len);
    }
    clear();
    return append(s, pos, n);
}

ustring& ustring::assign(const char* s) {
    if (s == data)
        return *this;
    clear();
    return append(s);
}

ustring& ustring::assign(const char* s, unsigned long n) {
    if (s == data) {
        if (n < data_len) {
            data_len = n;
            data[n] = '\0';
        }
        clear_wdata();
        return *this;
    }
    clear();
    return append(s, n);
}

ustring& ustring::assign(const unsigned short* s) {
    if (s == wdata)
        return *this;
    clear();
    return append(s);
}

ustring& ustring::assign(const unsigned short* s, unsigned long n) {
    if (s == wdata) {
        // The caller's pointer stands for our own text, so make the view hold it before cutting.
        if (wdata_len == 0 && data_len != 0)
            convert_from_data();
        if (n < wdata_len) {
            wdata_len = n;
            wdata[n] = 0;
        }
        convert_from_wdata();
        return *this;
    }
    clear();
    return append(s, n);
}

ustring& ustring::assign(const std::string& s, unsigned long pos, unsigned long n) {
    clear();
    return append(s, pos, n);
}

ustring& ustring::assign(char c, unsigned long n) {
    clear();
    return append(c, n);
}

ustring& ustring::assign(unsigned short u, unsigned long n) {
    clear();
    return append(u, n);
}

ustring& ustring::operator=(const ustring& s) {
    return assign(s, 0, npos);
}

ustring& ustring::operator=(const std::string& s) {
    return assign(s, 0, npos);
}

ustring& ustring::operator=(const char* s) {
    return assign(s);
}

ustring& ustring::operator=(const unsigned short* s) {
    return assign(s);
}

ustring& ustring::operator=(char c) {
    return assign(c, 1);
}

ustring& ustring::operator=(unsigned short u) {
    return assign(u, 1);
}

ustring& ustring::append(const char* s) {
    return append(s, npos);
}

ustring& ustring::append(const char* s, unsigned long n) {
    const bool self = s == data;
    const unsigned long k = self ? std::min(data_len, n) : strnlen(s, n);
    fit(data, data_cap, need_for(data_len, k));
    // After a reallocation the old pointer is gone; copy our own text from the new block.
    std::memcpy(data + data_len, self ? data : s, k);
    data_len += k;
    data[data_len] = '\0';
    clear_wdata();
    return *this;
}

ustring& ustring::append(const unsigned short* s) {
    return append(s, npos);
}

ustring& ustring::append(const unsigned short* s, unsigned long n) {
    const bool self = s == wdata;
    if (wdata_len == 0 && data_len != 0)
        convert_from_data();
    const unsigned long k = self ? std::min(wdata_len, n) : units_len(s, n);
    fit(wdata, wdata_cap, need_for(wdata_len, k));
    std::memcpy(wdata + wdata_len, self ? wdata : s, k * sizeof(unsigned short));
    wdata_len += k;
    wdata[wdata_len] = 0;
    try {
        convert_from_wdata();
    } catch (...) {
        // data still holds the old text; the view now holds more, so it must not count as built.
        clear_wdata();
        throw;
    }
    return *this;
}

ustring& ustring::append(const ustring& s, unsigned long pos, unsigned long n) {
    ustring part = s.substr(pos, n);
    return append(part.data, part.data_len);
}

ustring& ustring::append(const std::string& s, unsigned long pos, unsigned long n) {
    std::string part = s.substr(pos, n);
    return append(part.c_str());
}

ustring& ustring::append(char c, unsigned long n) {
    fit(data, data_cap, need_for(data_len, n));
    std::memset(data + data_len, c, n);
    data_len += n;
    data[data_len] = '\0';
    clear_wdata();
    return *this;
}

ustring& ustring::append(unsigned short u, unsigned long n) {
    if (wdata_len == 0 && data_len != 0)
        convert_from_data();
    fit(wdata, wdata_cap, need_for(wdata_len, n));
    std::fill_n(wdata + wdata_len, n, u);
    wdata_len += n;
    wdata[wdata_len] = 0;
    try {
        convert_from_wdata();
    } catch (...) {
        clear_wdata();
        throw;
    }
    return *this;
}

ustring& ustring::operator+=(const ustring& s) {
    return append(s, 0, npos);
}

ustring& ustring::operator+=(const std::string& s) {
    return append(s, 0, npos);
}

ustring& ustring::operator+=(const char* s) {
    return append(s);
}

ustring& ustring::operator+=(const unsigned short* s) {
    return append(s);
}

ustring& ustring::operator+=(char c) {
    return append(c, 1);
}

ustring& ustring::operator+=(unsigned short u) {
    return append(u, 1);
}

const unsigned short* ustring::c_str_utf16() const {
    if (wdata_len == 0 && data_len != 0)
        convert_from_data();
    return wdata;
}

ustring ustring::substr(unsigned long pos, unsigned long n) const {
    if (pos > data_len)
        throw std::out_of_range("substr");
    const unsigned long count = n > data_len ? data_len : n;
    ustring result;
    result.append(data + pos, count);
    return result;
}

unsigned long ustring::find(const std::string& s, unsigned long pos) const {
    return find(s.c_str(), pos);
}

unsigned long ustring::find(const char* s, unsigned long pos) const {
    if (pos >= data_len)
        return npos;
    return from_view(std::string_view(data, data_len).find(s, pos));
}

unsigned long ustring::find(const ustring& s, unsigned long pos) const {
    return find(s.data, pos);
}

unsigned long ustring::find(char c, unsigned long pos) const {
    const char needle[2] = {c, '\0'};
    return find(needle, pos);
}

unsigned long ustring::rfind(const std::string& s, unsigned long pos) const {
    return rfind(s.c_str(), pos);
}

unsigned long ustring::rfind(const char* s, unsigned long pos) const {
    if (data_len == 0)
        return npos;
    return from_view(std::string_view(data, data_len).rfind(s, back_start(pos, data_len)));
}

unsigned long ustring::rfind(const ustring& s, unsigned long pos) const {
    return rfind(s.data, pos);
}

unsigned long ustring::rfind(char c, unsigned long pos) const {
    const char needle[2] = {c, '\0'};
    return rfind(needle, pos);
}

unsigned long ustring::find_first_of(const std::string& s, unsigned long pos) const {
    return find_first_of(s.c_str(), pos);
}

unsigned long ustring::find_first_of(const char* s, unsigned long pos) const {
    if (pos >= data_len)
        return npos;
    return from_view(std::string_view(data, data_len).find_first_of(s, pos));
}

unsigned long ustring::find_first_of(const ustring& s, unsigned long pos) const {
    return find_first_of(s.data, pos);
}

unsigned long ustring::find_first_of(char c, unsigned long pos) const {
    const char set[2] = {c, '\0'};
    return find_first_of(set, pos);
}

unsigned long ustring::find_first_not_of(const std::string& s, unsigned long pos) const {
    return find_first_not_of(s.c_str(), pos);
}

unsigned long ustring::find_first_not_of(const char* s, unsigned long pos) const {
    if (pos >= data_len)
        return npos;
    return from_view(std::string_view(data, data_len).find_first_not_of(s, pos));
}

unsigned long ustring::find_first_not_of(const ustring& s, unsigned long pos) const {
    return find_first_not_of(s.data, pos);
}

unsigned long ustring::find_first_not_of(char c, unsigned long pos) const {
    const char set[2] = {c, '\0'};
    return find_first_not_of(set, pos);
}

unsigned long ustring::find_last_of(const std::string& s, unsigned long pos) const {
    return find_last_of(s.c_str(), pos);
}

unsigned long ustring::find_last_of(const char* s, unsigned long pos) const {
    if (data_len == 0)
        return npos;
    return from_view(std::string_view(data, data_len).find_last_of(s, back_start(pos, data_len)));
}

unsigned long ustring::find_last_of(const ustring& s, unsigned long pos) const {
    return find_last_of(s.data, pos);
}

unsigned long ustring::find_last_of(char c, unsigned long pos) const {
    const char set[2] = {c, '\0'};
    return find_last_of(set, pos);
}

unsigned long ustring::find_last_not_of(const std::string& s, unsigned long pos) const {
    return find_last_not_of(s.c_str(), pos);
}

unsigned long ustring::find_last_not_of(const char* s, unsigned long pos) const {
    if (data_len == 0)
        return npos;
    return from_view(std::string_view(data, data_len).find_last_not_of(s, back_start(pos, data_len)));
}

unsigned long ustring::find_last_not_of(const ustring& s, unsigned long pos) const {
    return find_last_not_of(s.data, pos);
}

unsigned long ustring::find_last_not_of(char c, unsigned long pos) const {
    const char set[2] = {c, '\0'};
    return find_last_not_of(set, pos);
}

void ustring::swap(ustring& o) {
    std::swap(data, o.data);
    std::swap(data_len, o.data_len);
    std::swap(data_cap, o.data_cap);
    std::swap(wdata, o.wdata);
    std::swap(wdata_len, o.wdata_len);
    std::swap(wdata_cap, o.wdata_cap);
}

void ustring::replace(char from, char to) {
    std::replace(data, data + data_len, from, to);
    clear_wdata();
}

void ustring::ltrim(const char* set) {
    const unsigned long first = from_view(std::string_view(data, data_len).find_first_not_of(set));
    const unsigned long cut = first == npos ? data_len : first;
    // Nothing removed means nothing touched, so a view built earlier stays valid.
    if (cut == 0)
        return;
    std::memmove(data, data + cut, data_len - cut + 1);
    data_len -= cut;
    clear_wdata();
}

void ustring::ltrim(const ustring& set) {
    ltrim(set.data);
}

void ustring::rtrim(const char* set) {
    const unsigned long last = from_view(std::string_view(data, data_len).find_last_not_of(set));
    const unsigned long keep = last == npos ? 0 : last + 1;
    if (keep == data_len)
        return;
    data_len = keep;
    data[keep] = '\0';
    clear_wdata();
}

void ustring::rtrim(const ustring& set) {
    rtrim(set.data);
}

void ustring::trim(const char* set) {
    ltrim(set);
    rtrim(set);
}

void ustring::trim(const ustring& set) {
    if (&set == this) {
        // ltrim shifts our own bytes, which would change the set before rtrim reads it.
        const ustring bytes(set);
        trim(bytes.data);
        return;
    }
    trim(set.data);
}

int ustring::compare(const ustring& o) const {
    return compare(o, npos);
}

int ustring::compare(const ustring& o, unsigned long n) const {
    const auto* a = reinterpret_cast<const unsigned char*>(data);
    const auto* b = reinterpret_cast<const unsigned char*>(o.data);
    for (unsigned long i = 0; i < n; ++i) {
        if (a[i] != b[i])
            return a[i] - b[i];
        if (a[i] == '\0')
            break;
    }
    return 0;
}

int ustring::compare(const ustring& a, const ustring& b, bool ignore_case) {
    if (!ignore_case)
        return a.compare(b);
    const auto* x = reinterpret_cast<const unsigned char*>(a.data);
    const auto* y = reinterpret_cast<const unsigned char*>(b.data);
    for (unsigned long i = 0;; ++i) {
        const unsigned char cx = fold_ascii(x[i]);
        const unsigned char cy = fold_ascii(y[i]);
        if (cx != cy)
            return cx - cy;
        if (cx == '\0')
            return 0;
    }
}

bool ustring::is_valid(const ustring& s) {
    if (s.data_len == 0)
        return true;
    UErrorCode err = U_ZERO_ERROR;
    int32_t len = 0;
    u_strFromUTF8(nullptr, 0, &len, s.data, -1, &err);
    // The length query reports an overflow even for good text; only this code means ill-formed.
    return err != U_INVALID_CHAR_FOUND;
}

ustring ustring::normalize(normalization_form f) const {
    return normalize(*this, f);
}

ustring ustring::normalize(const ustring& s, normalization_form f) {
    ustring result;
    if (s.data_len == 0)
        return result;
    UErrorCode err = U_ZERO_ERROR;
    // Both forms come from the "nfc" data; the mode picks composition or decomposition.
    const UNormalizer2* norm = unorm2_getInstance(nullptr, "nfc", f == NFC ? UNORM2_COMPOSE : UNORM2_DECOMPOSE, &err);
    if (U_FAILURE(err) || norm == nullptr) {
        warn("unorm2_getInstance", err, __LINE__);
        return result;
    }
    if (s.wdata_len == 0)
        s.convert_from_data();
    int32_t len = unorm2_normalize(norm, as_uchar(s.wdata), -1, nullptr, 0, &err);
    fit(result.wdata, result.wdata_cap, static_cast<unsigned long>(std::max(len, 0)) + 1);
    err = U_ZERO_ERROR;
    if (s.wdata_len == 0)
        s.convert_from_data();
    len = unorm2_normalize(norm, as_uchar(s.wdata), -1, as_uchar(result.wdata), icu_cap(result.wdata_cap), &err);
    if (U_FAILURE(err)) {
        warn("unorm2_normalize", err, __LINE__);
        result.clear();
        return result;
    }
    result.wdata_len = static_cast<unsigned long>(len);
    result.wdata[result.wdata_len] = 0;
    result.convert_from_wdata();
    return result;
}

ustring operator+(const ustring& a, const ustring& b) {
    ustring r(a);
    r.append(b, 0, ustring::npos);
    return r;
}

ustring operator+(const ustring& a, const char* b) {
    ustring r(a);
    r.append(b);
    return r;
}

ustring operator+(const ustring& a, char b) {
    ustring r(a);
    r.append(b, 1);
    return r;
}

ustring operator+(const ustring& a, const unsigned short* b) {
    ustring r(a);
    r.append(b);
    return r;
}

ustring operator+(const ustring& a, unsigned short b) {
    ustring r(a);
    r.append(b, 1);
    return r;
}

bool operator==(const ustring& a, const ustring& b) {
    return a.compare(b) == 0;
}

bool operator!=(const ustring& a, const ustring& b) {
    return a.compare(b) != 0;
}

bool operator<(const ustring& a, const ustring& b) {
    return a.compare(b) < 0;
}

bool operator>(const ustring& a, const ustring& b) {
    return a.compare(b) > 0;
}

bool operator<=(const ustring& a, const ustring& b) {
    return !(b < a);
}

bool operator>=(const ustring& a, const ustring& b) {
    return !(a < b);
}

std::ostream& operator<<(std::ostream& os, const ustring& s) {
    return os << s.c_str();
}

std::istream& operator>>(std::istream& is, ustring& s) {
    std::string word;
    is >> word;
    s.assign(word, 0, ustring::npos);
    return is;
}

void swap(ustring& a, ustring& b) {
    a.swap(b);
}
