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

    void init();
    void clear();
    void clear_data();
    void clear_wdata() const;
    // Apply the capacity rule for a need of n elements, the NUL included; when that reallocates
    // below the text, the text is cut to fit. A need of 0 asks for nothing and keeps the string.
    void realloc_data(unsigned long n);
    void realloc_wdata(unsigned long n) const;
    int convert_from_data() const;
    int convert_from_wdata();

    ustring& assign(const ustring& s, unsigned long pos = 0, unsigned long n = npos);
    ustring& assign(const char* s);
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

    ustring& append(const char* s);
    ustring& append(const char* s, unsigned long n);
    ustring& append(const unsigned short* s);
    ustring& append(const unsigned short* s, unsigned long n);
    ustring& append(const ustring& s, unsigned long pos = 0, unsigned long n = npos);
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
    const unsigned short* c_str_utf16() const;
    unsigned long length() const { return data_len; }
    unsigned long size() const { return data_len; }
    bool empty() const { return data_len == 0; }
    char& operator[](unsigned long i) { return data[i]; }
    const char& operator[](unsigned long i) const { return data[i]; }
    ustring substr(unsigned long pos = 0, unsigned long n = npos) const;

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
    void ltrim(const char* set);
    void ltrim(const ustring& set);
    void rtrim(const char* set);
    void rtrim(const ustring& set);
    void trim(const char* set);
    void trim(const ustring& set);

    int compare(const ustring& o) const;
    int compare(const ustring& o, unsigned long n) const;
    static int compare(const ustring& a, const ustring& b, bool ignore_case);
    static bool is_valid(const ustring& s);
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
std::istream& operator>>(std::istream& is, ustring& s);

void swap(ustring& a, ustring& b);
