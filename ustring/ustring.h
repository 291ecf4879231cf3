#pragma once

#include <iosfwd>
#include <string>

// The launcher's string type outside the Qt interface: a UTF-8 text that is always current,
// plus a UTF-16 view that ICU builds on demand and every change of the UTF-8 text resets.
// All sizes, positions and counts are UTF-8 bytes. Buffers are sized exactly (realloc/free),
// so memory stays proportional to the text. One thread at a time, even for const use, since
// reading the UTF-16 view may rebuild it. A text pointer handed to an operation may be this
// string's own c_str() or c_str_utf16() (the self cases copy from the new buffer), but never a
// pointer into the middle of them: a reallocation would leave it dangling.
class ustring {
public:
    enum normalization_form { NFC = 0, NFD = 1 };

    static const unsigned long npos = static_cast<unsigned long>(-1);

    ustring();
    ustring(const ustring& s);
    ustring(const char* s);
    ustring(const unsigned short* s);
    ustring(const std::string& s);
    ustring(char c);
    ~ustring();

    // The buffer management below is public on purpose: it is part of the type's documented
    // interface, and the capacity rule is tested through it.
    // Empties the string and resizes both buffers to 4 elements; every constructor runs it first.
    void init();
    // Empties both views and keeps both allocations; the next operation that computes a need
    // may shrink them.
    void clear();
    // Empties the UTF-8 text only; the UTF-16 view is left as it was, so the two disagree until
    // the caller rebuilds or resets the view.
    void clear_data();
    // Marks the UTF-16 view unbuilt; the next c_str_utf16() rebuilds it from the UTF-8 text.
    void clear_wdata() const;
    // Apply the capacity rule for a need of n elements, the NUL included; when that reallocates
    // below the text, the text is cut to fit. A need of 0 asks for nothing and keeps the string.
    void realloc_data(unsigned long n);
    void realloc_wdata(unsigned long n) const;
    // Rebuilds the UTF-16 view from the UTF-8 text. -1 on ill-formed UTF-8, with a warning on
    // standard error: the view is then empty and the UTF-8 text kept.
    int convert_from_data() const;
    // Rebuilds the UTF-8 text from the UTF-16 view. -1 on ill-formed UTF-16 (an unpaired
    // surrogate), with a warning on standard error: the whole string is then empty, on purpose,
    // rather than half converted.
    int convert_from_wdata();

    // Throws std::out_of_range when pos > s.size(), leaving the target empty; a self-assignment
    // takes the substring first and so keeps the target when it throws.
    ustring& assign(const ustring& s, unsigned long pos = 0, unsigned long n = npos);
    // s equal to c_str() keeps the string as it is.
    ustring& assign(const char* s);
    // s equal to c_str() cuts the string to its first n bytes.
    ustring& assign(const char* s, unsigned long n);
    ustring& assign(const unsigned short* s);
    ustring& assign(const unsigned short* s, unsigned long n);
    ustring& assign(const std::string& s, unsigned long pos = 0, unsigned long n = npos);
    ustring& assign(char c, unsigned long n);
    ustring& assign(unsigned short u, unsigned long n);

    ustring& operator=(const ustring& s);
    ustring& operator=(const std::string& s);
    ustring& operator=(const char* s);
    ustring& operator=(const unsigned short* s);
    ustring& operator=(char c);
    ustring& operator=(unsigned short u);

    // s equal to c_str() appends the string to itself.
    ustring& append(const char* s);
    ustring& append(const char* s, unsigned long n);
    // The UTF-16 appends rebuild the UTF-8 text from the whole view: appended to ill-formed UTF-8
    // text, only the appended units are left (the old bytes cannot be converted).
    ustring& append(const unsigned short* s);
    ustring& append(const unsigned short* s, unsigned long n);
    ustring& append(const ustring& s, unsigned long pos = 0, unsigned long n = npos);
    // Stops at the first NUL of s, like the const char* forms.
    ustring& append(const std::string& s, unsigned long pos = 0, unsigned long n = npos);
    ustring& append(char c, unsigned long n);
    ustring& append(unsigned short u, unsigned long n);

    ustring& operator+=(const ustring& s);
    ustring& operator+=(const std::string& s);
    ustring& operator+=(const char* s);
    ustring& operator+=(const unsigned short* s);
    ustring& operator+=(char c);
    ustring& operator+=(unsigned short u);

    const char* c_str() const { return data; }
    const char* c_str_utf8() const { return data; }
    // Builds the view when it is unbuilt; the empty text (and a warning) for ill-formed UTF-8.
    const unsigned short* c_str_utf16() const;
    unsigned long length() const { return data_len; }
    unsigned long size() const { return data_len; }
    bool empty() const { return data_len == 0; }
    // Unchecked. A byte written through the reference does not reset a UTF-16 view built before.
    char& operator[](unsigned long i) { return data[i]; }
    const char& operator[](unsigned long i) const { return data[i]; }
    // Throws std::out_of_range ("substr") when pos > size(); may cut a UTF-8 sequence in two.
    ustring substr(unsigned long pos = 0, unsigned long n = npos) const;

    // The searches work on bytes; a needle or set ends at its first NUL, so a char NUL is the
    // empty needle. rfind only reports a match that lies wholly inside the text.

    unsigned long find(const std::string& s, unsigned long pos = 0) const;
    unsigned long find(const char* s, unsigned long pos = 0) const;
    unsigned long find(const ustring& s, unsigned long pos = 0) const;
    unsigned long find(char c, unsigned long pos = 0) const;
    unsigned long rfind(const std::string& s, unsigned long pos = npos) const;
    unsigned long rfind(const char* s, unsigned long pos = npos) const;
    unsigned long rfind(const ustring& s, unsigned long pos = npos) const;
    unsigned long rfind(char c, unsigned long pos = npos) const;
    unsigned long find_first_of(const std::string& s, unsigned long pos = 0) const;
    unsigned long find_first_of(const char* s, unsigned long pos = 0) const;
    unsigned long find_first_of(const ustring& s, unsigned long pos = 0) const;
    unsigned long find_first_of(char c, unsigned long pos = 0) const;
    unsigned long find_first_not_of(const std::string& s, unsigned long pos = 0) const;
    unsigned long find_first_not_of(const char* s, unsigned long pos = 0) const;
    unsigned long find_first_not_of(const ustring& s, unsigned long pos = 0) const;
    unsigned long find_first_not_of(char c, unsigned long pos = 0) const;
    unsigned long find_last_of(const std::string& s, unsigned long pos = npos) const;
    unsigned long find_last_of(const char* s, unsigned long pos = npos) const;
    unsigned long find_last_of(const ustring& s, unsigned long pos = npos) const;
    unsigned long find_last_of(char c, unsigned long pos = npos) const;
    unsigned long find_last_not_of(const std::string& s, unsigned long pos = npos) const;
    unsigned long find_last_not_of(const char* s, unsigned long pos = npos) const;
    unsigned long find_last_not_of(const ustring& s, unsigned long pos = npos) const;
    unsigned long find_last_not_of(char c, unsigned long pos = npos) const;

    void swap(ustring& o);
    void replace(char from, char to);
    // The set is a set of bytes: a multi-byte character in it removes each of its bytes alone.
    // Nothing to remove keeps the string untouched, its UTF-16 view included.
    void ltrim(const char* set);
    void ltrim(const ustring& set);
    void rtrim(const char* set);
    void rtrim(const ustring& set);
    void trim(const char* set);
    void trim(const ustring& set);

    // The difference of the first differing bytes (unsigned), 0 when equal: code point order.
    int compare(const ustring& o) const;
    int compare(const ustring& o, unsigned long n) const;
    // ignore_case folds ASCII letters only, on purpose (no locale, no Unicode case tables): 'É'
    // and 'é' stay different.
    static int compare(const ustring& a, const ustring& b, bool ignore_case);
    // False only for ill-formed UTF-8 (ICU's invalid-character code); the empty text is valid.
    static bool is_valid(const ustring& s);
    // The empty string when the text is ill-formed or ICU fails (with a warning on standard error).
    ustring normalize(normalization_form f) const;
    static ustring normalize(const ustring& s, normalization_form f);

private:
    char* data;
    unsigned long data_len;
    unsigned long data_cap;
    mutable unsigned short* wdata;
    mutable unsigned long wdata_len;
    mutable unsigned long wdata_cap;
};

ustring operator+(const ustring& a, const ustring& b);
ustring operator+(const ustring& a, const char* b);
ustring operator+(const ustring& a, char b);
ustring operator+(const ustring& a, const unsigned short* b);
ustring operator+(const ustring& a, unsigned short b);

bool operator==(const ustring& a, const ustring& b);
bool operator!=(const ustring& a, const ustring& b);
bool operator<(const ustring& a, const ustring& b);
bool operator>(const ustring& a, const ustring& b);
bool operator<=(const ustring& a, const ustring& b);
bool operator>=(const ustring& a, const ustring& b);

std::ostream& operator<<(std::ostream& os, const ustring& s);
// Reads one whitespace-delimited word, as the std::string extraction does.
std::istream& operator>>(std::istream& is, ustring& s);

void swap(ustring& a, ustring& b);
