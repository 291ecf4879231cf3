#include <gtest/gtest.h>

#include <string>

#include "config.h"
#include "file_tree.h"
#include "temp_dir.h"

namespace {

struct Row {
    const char* name;
    std::string text;
    std::string expected = ""; // the rendered map, empty when refused; or the number
};

void PrintTo(const Row& row, std::ostream* os) {
    *os << row.name;
}

std::string RowName(const ::testing::TestParamInfo<Row>& info) {
    return info.param.name;
}

class ConfigRead : public ::testing::TestWithParam<Row> {};

// The map holds b=old before the read: an accepted file keeps it unless it sets b itself, a refused
// one empties the whole map, so an empty rendering is exactly a refusal.
TEST_P(ConfigRead, MergesAnAcceptedFileAndEmptiesTheMapOnAnyBadLine) {
    testsupport::TempDir dir;
    ASSERT_TRUE(testsupport::writeFile(dir / "c.conf", GetParam().text));
    Config config;
    config["b"] = "old";
    EXPECT_EQ(config.read(dir / "c.conf"), GetParam().expected.empty() ? -1 : 0);
    std::string rendered;
    for (const auto& entry : config)
        rendered += std::string(entry.first.c_str()) + "=" + entry.second.c_str() + ";";
    EXPECT_EQ(rendered, GetParam().expected);
}

const Row kAccepted[] = {
    {"CommentsBlanksHashesAndKeyOnlyLastLine", "# comment\n\n  \t\f\nc = b   # note\nh=d#e\nf#g=1\nx=1\nlast",
     "b=old;c=b;h=d#e;x=1;"},
    {"CarriageReturnEndsTheValueUtf8IsKept", "key=value\r\nname=Zo\xC3\xAB\n", "b=old;key=value;name=Zo\xC3\xAB;"},
    {"KeysOfDotHyphenUnderscoreDigitsOrNoneLastWins", "a.b-c_D9=v\n=5\nb=1\nb=new\n", "=5;a.b-c_D9=v;b=new;"},
    {"Quotes", "w='two words'\nd=\"it's\"\ns='say \"hi\"'\nq=''\n", "b=old;d=it's;q=;s=say \"hi\";w=two words;"},
    // Read as its first 8191 bytes, then the rest as a line of its own.
    {"LongLineInTwoPieces", "k=" + std::string(8189, 'x') + "j=y\n", "b=old;j=y;k=" + std::string(8189, 'x') + ";"}};
INSTANTIATE_TEST_SUITE_P(Accepted, ConfigRead, ::testing::ValuesIn(kAccepted), RowName);

// A refused line anywhere drops the lines before it and stops the read: y=2 never arrives.
const Row kRefused[] = {
    {"EmptyValue", "x=1\nkey=\ny=2"},  {"ByteOrderMark", "\xEF\xBB\xBFz=1\ny=2"}, {"BlankInKey", "my key=1\ny=2"},
    {"UnclosedQuote", "a='open\ny=2"}, {"TabInsideQuotes", "a=\"t\tb\"\ny=2"},    {"KeyOnlyLine", "abc\ny=2"},
    {"TwoWords", "a=b c\ny=2"},        {"ControlByte", "a=b\x01\ny=2"},           {"TextAfterQuote", "a='b'c\ny=2"}};
INSTANTIATE_TEST_SUITE_P(Refused, ConfigRead, ::testing::ValuesIn(kRefused), RowName);

class ConfigGetInt : public ::testing::TestWithParam<Row> {};

// The Absent row leaves the key out of the map: it must read like an empty value, not throw.
TEST_P(ConfigGetInt, ReadsALeadingDecimalNumberOrZero) {
    Config config;
    if (!GetParam().text.empty())
        config["v"] = GetParam().text;
    EXPECT_EQ(std::to_string(config.get_int("v")), GetParam().expected);
}

const Row kNumbers[] = {
    {"Plain", "7", "7"},     {"Negative", "-1", "-1"}, {"SignAndTrailingText", "+12abc", "12"}, {"Hex", "0x1F", "0"},
    {"Letters", "abc", "0"}, {"Absent", "", "0"},      {"OutOfRange", "99999999999", "0"}};
INSTANTIATE_TEST_SUITE_P(Values, ConfigGetInt, ::testing::ValuesIn(kNumbers), RowName);

} // namespace
