#include "ustring.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <malloc.h>
#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <unistd.h>

// Growth past any address space must fail as an allocation error, also under AddressSanitizer.
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}

namespace {

std::u16string utf16(const ustring& s) {
    return reinterpret_cast<const char16_t*>(s.c_str_utf16());
}

const unsigned short* units(const char16_t* s) {
    return reinterpret_cast<const unsigned short*>(s);
}

struct CerrCapture {
    std::ostringstream text;
    std::streambuf* old = std::cerr.rdbuf(text.rdbuf());
    ~CerrCapture() { std::cerr.rdbuf(old); }
};

std::string utf8(const std::string& hexCodePoints) {
    std::istringstream in(hexCodePoints);
    std::string out;
    for (unsigned long cp; in >> std::hex >> cp;) {
        const int tail = cp < 0x80 ? 0 : cp < 0x800 ? 1 : cp < 0x10000 ? 2 : 3;
        out += char(tail == 0 ? cp : (0xFF << (7 - tail) & 0xFF) | cp >> 6 * tail);
        for (int i = tail - 1; i >= 0; --i)
            out += char(0x80 | (cp >> 6 * i & 0x3F));
    }
    return out;
}

const std::regex kFromUtf8Warning("(Warning: u_strFromUTF8: error code 10 at line [0-9]+\n)+");

} // namespace

// Memory stays proportional to the text: a string that once held a megabyte gives it back as
// soon as a short text replaces it, in both views.
TEST(UstringCapacity, GivesMemoryBackWhenALongTextIsReplacedByAShortOne) {
    ustring s(std::string(1 << 20, 'x'));
    ASSERT_EQ(utf16(s).size(), 1u << 20);
    s = "ab";
    EXPECT_EQ(utf16(s), u"ab");
    // Allocators round small blocks up (glibc shrinks a mapped block to one page), far below 1 MiB.
    EXPECT_LT(malloc_usable_size(const_cast<char*>(s.c_str())), 64u * 1024);
    EXPECT_LT(malloc_usable_size(const_cast<unsigned short*>(s.c_str_utf16())), 64u * 1024);
}

TEST(UstringCapacity, ShrinkingBelowTheTextCutsItAndItsView) {
    ustring s("abcdefgh");
    ASSERT_EQ(utf16(s), u"abcdefgh");
    s.realloc_data(3);
    EXPECT_STREQ(s.c_str(), "ab");
    EXPECT_EQ(s.size(), 2u);
    EXPECT_EQ(utf16(s), u"ab");
}

// realloc to 0 bytes frees the block; a string that kept the freed pointer died in its destructor.
TEST(UstringCapacity, ANeedOfNothingKeepsTheStringIntact) {
    auto s = std::make_unique<ustring>("abc");
    s->realloc_wdata(0);
    s->realloc_data(0);
    EXPECT_STREQ(s->c_str(), "abc");
    EXPECT_EQ(utf16(*s), u"abc");
    s.reset();
}

TEST(UstringCapacity, FailedGrowthThrowsBadAllocAndKeepsText) {
    ustring s("abc");
    EXPECT_THROW(s.append('x', ustring::npos), std::bad_alloc);
    EXPECT_THROW(s.append('x', 1UL << 60), std::bad_alloc);
    EXPECT_THROW(s.append(static_cast<unsigned short>('x'), 1UL << 60), std::bad_alloc);
    EXPECT_STREQ(s.c_str(), "abc");
    EXPECT_EQ(utf16(s), u"abc");
}

TEST(UstringAppend, AppendingItsOwnTextDoublesItAcrossReallocation) {
    ustring s("abc");
    s.append(s.c_str());
    EXPECT_STREQ(s.c_str(), "abcabc");
    s.append(s.c_str(), 2);
    EXPECT_STREQ(s.c_str(), "abcabcab");
    s += s;
    EXPECT_STREQ(s.c_str(), "abcabcababcabcab");
}

TEST(UstringAppend, AppendingItsOwnUtf16ViewDoublesTheText) {
    ustring w(units(u"x\u00e9"));
    w.append(w.c_str_utf16());
    EXPECT_STREQ(w.c_str(), "x\xC3\xA9x\xC3\xA9");
    w.assign(w.c_str_utf16(), 3);
    EXPECT_STREQ(w.c_str(), "x\xC3\xA9x");
}

TEST(UstringAssign, AssigningPartOfItselfKeepsThatPart) {
    ustring s("abcd");
    s.assign(s.c_str(), 2);
    EXPECT_STREQ(s.c_str(), "ab");
    s = s;
    EXPECT_STREQ(s.c_str(), "ab");
    s.assign(s, 1, ustring::npos);
    EXPECT_STREQ(s.c_str(), "b");
}

TEST(UstringAssign, AFailedSelfAssignmentKeepsTheTextButAFailedOtherAssignmentClears) {
    ustring s("b");
    EXPECT_THROW(s.assign(s, 2, 1), std::out_of_range);
    EXPECT_STREQ(s.c_str(), "b");
    ustring other("keep");
    EXPECT_THROW(other.assign(s, 2, 1), std::out_of_range);
    EXPECT_TRUE(other.empty()) << "assigning from another string clears before taking the substring";
}

TEST(UstringUtf16View, FollowsEveryChangeOfUtf8Text) {
    ustring s("\xC3\xA9");
    EXPECT_EQ(s.size(), 2u);
    EXPECT_EQ(utf16(s), u"\u00e9");
    s += "x";
    EXPECT_EQ(utf16(s), u"\u00e9x");
    s.replace('x', 'y');
    EXPECT_EQ(utf16(s), u"\u00e9y");
    s.ltrim("\xC3\xA9");
    EXPECT_EQ(utf16(s), u"y");
    ustring copy(s);
    EXPECT_EQ(utf16(copy), u"y");
    s += units(u"\U0001F600");
    EXPECT_STREQ(s.c_str(), "y\xF0\x9F\x98\x80");
    EXPECT_STREQ(ustring(units(u"\u00e9")).c_str(), "\xC3\xA9");
    EXPECT_EQ(ustring().c_str_utf16()[0], 0);
}

TEST(UstringUtf16View, IllFormedTextWarnsOnEveryConversionAndEmptiesOnlyTheView) {
    CerrCapture err;
    ustring bad("\xFF");
    EXPECT_FALSE(ustring::is_valid(bad));
    EXPECT_FALSE(ustring::is_valid(ustring("a\xED\xA0\x80"))) << "an encoded surrogate";
    EXPECT_TRUE(ustring::is_valid(ustring("\xC3\xA9")));
    EXPECT_EQ(utf16(bad), u"");
    EXPECT_EQ(utf16(bad), u"");
    EXPECT_STREQ(bad.c_str(), "\xFF");
    const std::string warnings = err.text.str();
    EXPECT_TRUE(std::regex_match(warnings, kFromUtf8Warning));
    EXPECT_EQ(std::count(warnings.begin(), warnings.end(), '\n'), 2);

    bad.append(units(u"\u00e9"));
    EXPECT_STREQ(bad.c_str(), "\xC3\xA9") << "only the appended text survives";
    EXPECT_TRUE(ustring::normalize(ustring("e\xCC\xFF"), ustring::NFC).empty());

    err.text.str("");
    ustring abc("abc");
    abc.append(static_cast<unsigned short>(0xD800), 1);
    EXPECT_TRUE(std::regex_match(err.text.str(), std::regex("Warning: u_strToUTF8: error code 10 at line [0-9]+\n")));
    EXPECT_TRUE(abc.empty());
    EXPECT_EQ(utf16(abc), u"");
}

TEST(UstringSubstr, CountsBytesAndRejectsStartPastEnd) {
    const ustring s("abc");
    EXPECT_TRUE(s.substr(3).empty());
    EXPECT_STREQ(s.substr(1, ustring::npos).c_str(), "bc");
    EXPECT_STREQ(s.substr(1, 1000).c_str(), "bc");
    EXPECT_STREQ(s.substr(1, 1).c_str(), "b");
    try {
        s.substr(4);
        ADD_FAILURE() << "substr past the end must throw";
    } catch (const std::out_of_range& e) {
        EXPECT_STREQ(e.what(), "substr");
    }
}

TEST(UstringSearch, FollowsEmptyNeedleAndBackwardStartRules) {
    const ustring abc("abc");
    EXPECT_EQ(abc.find("", 0), 0u);
    EXPECT_EQ(abc.find("", 3), ustring::npos);
    EXPECT_EQ(abc.find('\0', 1), 1u) << "a NUL char is the empty needle";
    EXPECT_EQ(abc.rfind("", ustring::npos), 2u);
    EXPECT_EQ(abc.rfind("", 3), 2u) << "a start at size() means the last byte";
    EXPECT_EQ(abc.find_first_of("", 0), ustring::npos);
    EXPECT_EQ(abc.find_first_not_of("", 1), 1u);
    EXPECT_EQ(abc.find_last_of("", ustring::npos), ustring::npos);
    EXPECT_EQ(abc.find_last_not_of("", ustring::npos), 2u);
    const ustring none;
    EXPECT_EQ(none.find("", 0), ustring::npos);
    EXPECT_EQ(none.rfind("", ustring::npos), ustring::npos);

    const ustring s("abcbc");
    EXPECT_EQ(s.rfind("bc", ustring::npos), 3u);
    EXPECT_EQ(s.rfind(ustring("bc"), 2), 1u);
    EXPECT_EQ(s.rfind(std::string("bcx")), ustring::npos) << "a needle running past the end";
    EXPECT_EQ(s.find_last_of('a', ustring::npos), 0u);
    EXPECT_EQ(s.find_last_not_of("c", 3), 3u);
}

TEST(UstringTrim, RemovesSetBytesOnlyAtTheEnds) {
    ustring s("  a ");
    s.ltrim(" ");
    EXPECT_STREQ(s.c_str(), "a ");
    s = "a \t";
    s.rtrim(" \t");
    EXPECT_STREQ(s.c_str(), "a");
    s = "   ";
    s.trim(" ");
    EXPECT_TRUE(s.empty());
    s = std::string{'\xA9', 'a', '\xC3'};
    s.trim(ustring("\xC3\xA9"));
    EXPECT_STREQ(s.c_str(), "a") << "each byte of a multi-byte set member counts alone";
}

TEST(UstringCompare, OrdersBytesUnsignedAndFoldsOnlyAsciiLetters) {
    EXPECT_EQ(ustring::compare("A", "a", true), 0);
    EXPECT_NE(ustring::compare("\xC3\x89", "\xC3\xA9", true), 0);
    EXPECT_NE(ustring::compare("\xC3", "\xE3", true), 0) << "a Latin-1 fold would equate these bytes";
    EXPECT_LT(ustring::compare("[", "a", true), 0) << "'[' sits between 'Z' and 'a'";
    EXPECT_EQ(ustring("a").compare("c"), -2);
    EXPECT_EQ(ustring("abc").compare("abd", 2), 0);
    EXPECT_EQ(ustring("x").compare("y", 0), 0);
    EXPECT_TRUE(ustring("abc") <= ustring("abc") && ustring("abc") >= ustring("abc"));
    EXPECT_TRUE(ustring("abc") < ustring("abd"));
    EXPECT_TRUE(ustring("ab") < ustring("abc"));
    EXPECT_TRUE(ustring("z") < ustring("\xC3\xA9")) << "bytes from 0x80 up sort after ASCII";
}

TEST(UstringStreams, WriteBytesAndReadOneWord) {
    std::ostringstream out;
    out << ustring("\xC3\xA9 x");
    EXPECT_EQ(out.str(), "\xC3\xA9 x");
    std::istringstream in("  foo bar");
    ustring s("old");
    in >> s;
    EXPECT_STREQ(s.c_str(), "foo");
}

// Checks NFC and NFD against the invariants stated in Unicode's own NormalizationTest.txt.
TEST(UstringNormalize, ConformsToUnicodeNormalizationTest) {
    const char* path = "/usr/share/unicode/NormalizationTest.txt.bz2";
    ASSERT_EQ(access(path, R_OK), 0) << path << " is missing: install the unicode-data package";
    EXPECT_STREQ(ustring("e\xCC\x81").normalize(ustring::NFC).c_str(), "\xC3\xA9");
    EXPECT_STREQ(ustring("\xC3\xA9").normalize(ustring::NFD).c_str(), "e\xCC\x81");
    EXPECT_TRUE(ustring().normalize(ustring::NFD).empty());

    FILE* in = popen((std::string("bzcat ") + path).c_str(), "r");
    ASSERT_NE(in, nullptr);
    unsigned long lines = 0, mismatches = 0;
    for (char buf[4096]; fgets(buf, sizeof buf, in);) {
        if (buf[0] == '#' || buf[0] == '@' || buf[0] == '\n')
            continue;
        std::istringstream fields(buf);
        ustring c[5];
        int n = 0;
        for (std::string field; n < 5 && std::getline(fields, field, ';'); ++n)
            c[n] = utf8(field);
        if (n != 5) {
            ADD_FAILURE() << "malformed line: " << buf;
            continue;
        }
        ++lines;
        for (int i = 0; i < 5; ++i) {
            // c1..c3 share NFC c2 and NFD c3; c4 and c5 share NFC c4 and NFD c5.
            if (c[i].normalize(ustring::NFC) != c[i < 3 ? 1 : 3] || c[i].normalize(ustring::NFD) != c[i < 3 ? 2 : 4])
                if (++mismatches <= 10)
                    ADD_FAILURE() << "c" << i + 1 << " of " << buf;
        }
    }
    EXPECT_EQ(pclose(in), 0) << "bzcat failed";
    std::cout << "checked " << lines << " normalization test lines\n";
    EXPECT_GT(lines, 15000u);
    EXPECT_EQ(mismatches, 0u);
}
