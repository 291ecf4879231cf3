#include <gtest/gtest.h>

#include <string>

#include "config.h"
#include "file_tree.h"
#include "temp_dir.h"

namespace {

std::string Render(const Config& config) {
    std::string out;
    for (const auto& entry : config)
        out += std::string(entry.first.c_str()) + "=" + entry.second.c_str() + ";";
    return out;
}

// A named text and what it gives: the rendered map of an accepted file, the number of a value.
struct Row {
    const char* name;
    std::string text;
    std::string expected;
};

std::string RowName(const ::testing::TestParamInfo<Row>& info) {
    return info.param.name;
}

void PrintTo(const Row& row, std::ostream* os) {
    *os << row.name;
}

class ConfigAccepts : public ::testing::TestWithParam<Row> {};

TEST_P(ConfigAccepts, ReadsTheLineIntoTheMap) {
    testsupport::TempDir dir;
    ASSERT_TRUE(testsupport::writeFile(dir / "c.conf", GetParam().text));
    Config config;
    EXPECT_EQ(config.read(dir / "c.conf"), 0);
    EXPECT_EQ(Render(config), GetParam().expected);
}

const Row kAccepted[] = {
    {"CommentsAndBlankLinesOnly", "# comment\n\n  \t\f\n", ""},
    {"CarriageReturnEndsTheValue", "key=value\r\n", "key=value;"},
    {"EmptySingleQuotedValue", "q=''\n", "q=;"},
    {"EmptyKey", "=5\n", "=5;"},
    {"KeyWithDotHyphenUnderscoreDigits", "a.b-c_D9=v\n", "a.b-c_D9=v;"},
    {"SingleQuotesKeepTheBlank", "w='two words'\n", "w=two words;"},
    {"DoubleQuotesHoldASingleQuote", "d=\"it's\"\n", "d=it's;"},
    {"SingleQuotesHoldADoubleQuote", "s='say \"hi\"'\n", "s=say \"hi\";"},
    {"LastValueWins", "r=1\nr=2\n", "r=2;"},
    {"Utf8Value", "name=Zo\xC3\xAB\n", "name=Zo\xC3\xAB;"},
    {"BlanksAroundEqualsAndTrailingComment", "c = b   # note\n", "c=b;"},
    {"HashInsideAValue", "h=d#e\n", "h=d#e;"},
    {"KeyRunningIntoHashIsIgnored", "f#g=1\n", ""},
    {"KeyOnlyLastLineWithoutLineFeedIsIgnored", "x=1\nlast", "x=1;"},
    // Read as its first 8191 bytes, then the rest as a line of its own.
    {"LongLineInTwoPieces", "k=" + std::string(8189, 'x') + "j=y\n", "j=y;k=" + std::string(8189, 'x') + ";"}};
INSTANTIATE_TEST_SUITE_P(Lines, ConfigAccepts, ::testing::ValuesIn(kAccepted), RowName);

class ConfigRejects : public ::testing::TestWithParam<Row> {};

TEST_P(ConfigRejects, FailsAndEmptiesTheWholeMap) {
    testsupport::TempDir dir;
    ASSERT_TRUE(testsupport::writeFile(dir / "c.conf", "x=1\n" + GetParam().text + "y=2\n"));
    Config config;
    config["zz"] = "before";
    EXPECT_EQ(config.read(dir / "c.conf"), -1);
    EXPECT_EQ(Render(config), "");
}

const Row kRejected[] = {{"EmptyValue", "key=\n", ""},
                         {"BlankValue", "key=   \n", ""},
                         {"Section", "[section]\n", ""},
                         {"BlankInKey", "my key=1\n", ""},
                         {"UnclosedQuote", "a='open\n", ""},
                         {"TabInsideQuotes", "a=\"t\tb\"\n", ""},
                         {"KeyOnlyLine", "abc\n", ""},
                         {"TwoWords", "a=b c\n", ""},
                         {"ControlByteAfterValue", "a=b\x01\n", ""},
                         {"TextAfterClosingQuote", "a='b'c\n", ""},
                         {"ByteOrderMark", "\xEF\xBB\xBFz=1\n", ""}};
INSTANTIATE_TEST_SUITE_P(Lines, ConfigRejects, ::testing::ValuesIn(kRejected), RowName);

TEST(ConfigRead, KeepsEarlierEntriesAndReplacesThoseTheFileRepeats) {
    testsupport::TempDir dir;
    ASSERT_TRUE(testsupport::writeFile(dir / "c.conf", "b=new\n"));
    Config config;
    config["a"] = "kept";
    config["b"] = "old";
    ASSERT_EQ(config.read(dir / "c.conf"), 0);
    EXPECT_EQ(Render(config), "a=kept;b=new;");
}

class ConfigGetInt : public ::testing::TestWithParam<Row> {};

TEST_P(ConfigGetInt, ReadsALeadingDecimalNumberOrZero) {
    Config config;
    config["v"] = GetParam().text;
    EXPECT_EQ(std::to_string(config.get_int("v")), GetParam().expected);
}

const Row kNumbers[] = {
    {"Plain", "7", "7"},     {"Negative", "-1", "-1"}, {"SignAndTrailingText", "+12abc", "12"}, {"Hex", "0x1F", "0"},
    {"Letters", "abc", "0"}, {"Empty", "", "0"},       {"OutOfRange", "99999999999", "0"}};
INSTANTIATE_TEST_SUITE_P(Values, ConfigGetInt, ::testing::ValuesIn(kNumbers), RowName);

TEST(ConfigGetInt, AddsAnAbsentKeyWithAnEmptyValueAndGivesZero) {
    Config config;
    EXPECT_EQ(config.get_int("absent"), 0);
    EXPECT_EQ(Render(config), "absent=;");
}

} // namespace
