// The string type on arbitrary text: construction from UTF-8 and UTF-16, the UTF-16 view,
// normalisation, searches, trims, substrings and comparisons, each checked against an
// independent reference (std::string and a plain UTF-8 validator).
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "ustring.h"

namespace {

using std::string;
const unsigned long npos = ustring::npos;

string Bytes(const ustring& s) {
    return string(s.c_str(), s.size());
}

int Sign(long v) {
    return (v > 0) - (v < 0);
}

string Lower(string s) {
    for (char& c : s)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return s;
}

// The UTF-16 length of well-formed UTF-8 (shortest forms, no surrogates, nothing above
// U+10FFFF), or -1 for ill-formed text.
long Utf16Length(const string& s) {
    long units = 0;
    for (size_t i = 0; i < s.size();) {
        const unsigned char lead = s[i];
        const int len = lead < 0x80 ? 1 : lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
        if (len == 0 || i + len > s.size())
            return -1;
        unsigned cp = len == 1 ? lead : lead & (0x7F >> len);
        for (int k = 1; k < len; ++k) {
            if ((s[i + k] & 0xC0) != 0x80)
                return -1;
            cp = cp << 6 | (s[i + k] & 0x3F);
        }
        const unsigned shortest[] = {0, 0, 0x80, 0x800, 0x10000};
        if (cp < shortest[len] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
            return -1;
        units += cp >= 0x10000 ? 2 : 1;
        i += len;
    }
    return units;
}

bool WellFormedUtf16(const std::vector<unsigned short>& u) {
    for (size_t i = 0; u[i]; ++i) {
        if (u[i] >= 0xD800 && u[i] <= 0xDBFF && u[i + 1] >= 0xDC00 && u[i + 1] <= 0xDFFF)
            ++i;
        else if (u[i] >= 0xD800 && u[i] <= 0xDFFF)
            return false;
    }
    return true;
}

std::vector<unsigned short> Utf16(const ustring& s) {
    std::vector<unsigned short> units;
    for (const unsigned short* p = s.c_str_utf16(); *p; ++p)
        units.push_back(*p);
    return units.push_back(0), units;
}

// Every search overload against std::string; text is the needle up to its first NUL.
template <typename Needle>
void CheckSearches(const ustring& s, const string& ref, const Needle& needle, const string& text, unsigned long pos) {
    const bool past = pos >= ref.size();
    const unsigned long start = pos == npos || past ? ref.size() - 1 : pos;
    const unsigned long found = s.find(needle, pos);
    FUZZ_CHECK(found == (past ? npos : ref.find(text, pos)));
    FUZZ_CHECK(found == npos || (found >= pos && ref.compare(found, text.size(), text) == 0));
    FUZZ_CHECK(s.rfind(needle, pos) == (ref.empty() ? npos : ref.rfind(text, start)));
    FUZZ_CHECK(s.find_first_of(needle, pos) == (past ? npos : ref.find_first_of(text, pos)));
    FUZZ_CHECK(s.find_first_not_of(needle, pos) == (past ? npos : ref.find_first_not_of(text, pos)));
    FUZZ_CHECK(s.find_last_of(needle, pos) == (ref.empty() ? npos : ref.find_last_of(text, start)));
    FUZZ_CHECK(s.find_last_not_of(needle, pos) == (ref.empty() ? npos : ref.find_last_not_of(text, start)));
}

// Byte order as unsigned values, antisymmetric, and the operators agree with compare().
void CheckOrder(const ustring& a, const ustring& b, unsigned long n) {
    const string ra = Bytes(a), rb = Bytes(b);
    const int c = a.compare(b);
    FUZZ_CHECK(Sign(c) == Sign(ra.compare(rb)) && Sign(c) == -Sign(b.compare(a)));
    FUZZ_CHECK((a < b) == (c < 0) && (a > b) == (c > 0) && (a <= b) == (c <= 0) && (a >= b) == (c >= 0));
    FUZZ_CHECK((a == b) == (c == 0) && (a != b) == (c != 0));
    FUZZ_CHECK(Sign(a.compare(b, n)) == Sign(ra.substr(0, n).compare(rb.substr(0, n))));
    const int folded = ustring::compare(a, b, true);
    FUZZ_CHECK(Sign(folded) == Sign(Lower(ra).compare(Lower(rb))) &&
               Sign(folded) == -Sign(ustring::compare(b, a, true)));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzzsupport::SilenceStringWarnings();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    const string ref = in.ConsumeRandomLengthString(512).c_str();
    const string raw_needle = in.ConsumeRandomLengthString(16);
    const string needle = raw_needle.c_str();
    const char byte = in.ConsumeIntegral<char>();
    const unsigned long pos = in.ConsumeBool() ? npos : in.ConsumeIntegralInRange<unsigned long>(0, ref.size() + 1);
    const unsigned long n = in.ConsumeBool() ? npos : in.ConsumeIntegralInRange<unsigned long>(0, ref.size() + 1);
    std::vector<unsigned short> units;
    while (in.remaining_bytes() >= 2 && units.size() < 256) {
        const unsigned short unit = in.ConsumeIntegral<unsigned short>();
        if (unit == 0)
            break;
        units.push_back(unit);
    }
    units.push_back(0);

    // UTF-8 in, UTF-16 view out and back; reading the view never changes the text.
    const ustring s(ref.c_str());
    const long utf16_len = Utf16Length(ref);
    FUZZ_CHECK(Bytes(s) == ref && ustring::is_valid(s) == (utf16_len >= 0));
    const std::vector<unsigned short> view = Utf16(s);
    FUZZ_CHECK(static_cast<long>(view.size()) - 1 == (utf16_len >= 0 ? utf16_len : 0) && Bytes(s) == ref);
    if (utf16_len >= 0)
        FUZZ_CHECK(Bytes(ustring(view.data())) == ref);

    // UTF-16 in: well-formed units come back unchanged, anything else leaves nothing. Appended
    // to UTF-8 text, they follow it; ill-formed UTF-8 in front is dropped.
    const ustring from16(units.data());
    const bool units_ok = WellFormedUtf16(units);
    FUZZ_CHECK(units_ok ? ustring::is_valid(from16) && Utf16(from16) == units : from16.empty());
    ustring mixed(ref.c_str());
    mixed.append(units.data());
    FUZZ_CHECK(Bytes(mixed) == (units_ok ? (utf16_len >= 0 ? ref : string()) + Bytes(from16) : string()));

    // Normalisation of well-formed text: NFC of the NFD form is the NFC form, both are stable.
    const ustring nfc = s.normalize(ustring::NFC);
    const ustring nfd = ustring::normalize(s, ustring::NFD);
    if (utf16_len < 0) {
        FUZZ_CHECK(nfc.empty() && nfd.empty());
    } else {
        FUZZ_CHECK(nfc.empty() == ref.empty() && nfd.empty() == ref.empty());
        FUZZ_CHECK(ustring::is_valid(nfc) && ustring::is_valid(nfd));
        FUZZ_CHECK(nfd.normalize(ustring::NFC) == nfc && nfc.normalize(ustring::NFC) == nfc);
        FUZZ_CHECK(nfc.normalize(ustring::NFD) == nfd && nfd.normalize(ustring::NFD) == nfd);
    }

    CheckSearches(s, ref, raw_needle, needle, pos);
    CheckSearches(s, ref, needle.c_str(), needle, pos);
    CheckSearches(s, ref, ustring(needle.c_str()), needle, pos);
    CheckSearches(s, ref, byte, byte ? string(1, byte) : string(), pos);

    // Trims against erase(); the view was built before, so a stale one would show.
    const auto cut_right = [&needle](string x) {
        const size_t last = x.find_last_not_of(needle);
        return x.erase(last == npos ? 0 : last + 1);
    };
    const string left = string(ref).erase(0, ref.find_first_not_of(needle));
    const string right = cut_right(ref), both = cut_right(left);
    ustring l = s, r = s, t = s;
    l.c_str_utf16();
    r.c_str_utf16();
    t.c_str_utf16();
    in.ConsumeBool() ? l.ltrim(needle.c_str()) : l.ltrim(ustring(needle.c_str()));
    in.ConsumeBool() ? r.rtrim(needle.c_str()) : r.rtrim(ustring(needle.c_str()));
    in.ConsumeBool() ? t.trim(needle.c_str()) : t.trim(ustring(needle.c_str()));
    FUZZ_CHECK(Bytes(l) == left && Bytes(r) == right && Bytes(t) == both);
    FUZZ_CHECK(Utf16(l) == Utf16(ustring(left.c_str())) && Utf16(t) == Utf16(ustring(both.c_str())));

    if (pos > ref.size()) {
        bool threw = false;
        try {
            s.substr(pos, n);
        } catch (const std::out_of_range&) {
            threw = true;
        }
        FUZZ_CHECK(threw);
    } else {
        FUZZ_CHECK(Bytes(s.substr(pos, n)) == ref.substr(pos, n));
    }

    CheckOrder(s, ustring(needle.c_str()), n);
    CheckOrder(s, l, n);
    CheckOrder(s, nfd, n);

    // Appending a string to itself through its own buffer doubles it; a counted self-assign cuts.
    ustring twice = s;
    twice.append(twice.c_str());
    FUZZ_CHECK(Bytes(twice) == ref + ref);
    twice.assign(twice.c_str(), n);
    FUZZ_CHECK(Bytes(twice) == (ref + ref).substr(0, n));
    return 0;
}
