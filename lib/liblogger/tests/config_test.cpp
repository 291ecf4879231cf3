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

// A named file text and, for an accepted file, the map it gives.
struct Row {
    const char* name;
    std::string text;
    std::string entries;
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
    EXPECT_EQ(Render(config), GetParam().entries);
}

// The long line is read as its first 8191 bytes, then the rest as a line of its own.
INSTANTIATE_TEST_SUITE_P(Lines, ConfigAccepts,
                         ::testing::Values(Row{"CommentsAndBlankLinesOnly", "# comment\n\n  \t\f\n", ""},
                                           Row{"CarriageReturnEndsTheValue", "key=value\r\n", "key=value;"},
                                           Row{"EmptySingleQuotedValue", "q=''\n", "q=;"},
                                           Row{"EmptyKey", "=5\n", "=5;"},
                                           Row{"KeyWithDotHyphenUnderscoreDigits", "a.b-c_D9=v\n", "a.b-c_D9=v;"},
                                           Row{"SingleQuotesKeepTheBlank", "w='two words'\n", "w=two words;"},
                                           Row{"DoubleQuotesHoldASingleQuote", "d=\"it's\"\n", "d=it's;"},
                                           Row{"SingleQuotesHoldADoubleQuote", "s='say \"hi\"'\n", "s=say \"hi\";"},
                                           Row{"LastValueWins", "r=1\nr=2\n", "r=2;"},
                                           Row{"Utf8Value", "name=Zo\xC3\xAB\n", "name=Zo\xC3\xAB;"},
                                           Row{"BlanksAroundEqualsAndTrailingComment", "c = b   # note\n", "c=b;"},
                                           Row{"HashInsideAValue", "h=d#e\n", "h=d#e;"},
                                           Row{"KeyRunningIntoHashIsIgnored", "f#g=1\n", ""},
                                           Row{"KeyOnlyLastLineWithoutLineFeedIsIgnored", "x=1\nlast", "x=1;"},
                                           Row{"LongLineInTwoPieces", "k=" + std::string(8189, 'x') + "j=y\n",
                                               "j=y;k=" + std::string(8189, 'x') + ";"}),
                         RowName);

class ConfigRejects : public ::testing::TestWithParam<Row> {};

TEST_P(ConfigRejects, FailsAndEmptiesTheWholeMap) {
    testsupport::TempDir dir;
    ASSERT_TRUE(testsupport::writeFile(dir / "c.conf", "x=1\n" + GetParam().text + "y=2\n"));
    Config config;
    config["zz"] = "before";
    EXPECT_EQ(config.read(dir / "c.conf"), -1);
    EXPECT_EQ(Render(config), "");
}

INSTANTIATE_TEST_SUITE_P(Lines, ConfigRejects,
                         ::testing::Values(Row{"EmptyValue", "key=\n", ""}, Row{"BlankValue", "key=   \n", ""},
                                           Row{"Section", "[section]\n", ""}, Row{"BlankInKey", "my key=1\n", ""},
                                           Row{"UnclosedQuote", "a='open\n", ""},
                                           Row{"TabInsideQuotes", "a=\"t\tb\"\n", ""}, Row{"KeyOnlyLine", "abc\n", ""},
                                           Row{"TwoWords", "a=b c\n", ""},
                                           Row{"ControlByteAfterValue", "a=b\x01\n", ""},
                                           Row{"TextAfterClosingQuote", "a='b'c\n", ""},
                                           Row{"ByteOrderMark", "\xEF\xBB\xBFz=1\n", ""}),
                         RowName);

TEST(ConfigRead, KeepsEarlierEntriesAndReplacesThoseTheFileRepeats) {
    testsupport::TempDir dir;
    ASSERT_TRUE(testsupport::writeFile(dir / "c.conf", "b=new\n"));
    Config config;
    config["a"] = "kept";
    config["b"] = "old";
    ASSERT_EQ(config.read(dir / "c.conf"), 0);
    EXPECT_EQ(Render(config), "a=kept;b=new;");
}

struct Number {
    const char* name;
    const char* text;
    int value;
};

void PrintTo(const Number& number, std::ostream* os) {
    *os << number.name;
}

class ConfigGetInt : public ::testing::TestWithParam<Number> {};

TEST_P(ConfigGetInt, ReadsALeadingDecimalNumberOrZero) {
    Config config;
    config["v"] = GetParam().text;
    EXPECT_EQ(config.get_int("v"), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Values, ConfigGetInt,
                         ::testing::Values(Number{"Plain", "7", 7}, Number{"Negative", "-1", -1},
                                           Number{"SignAndTrailingText", "+12abc", 12}, Number{"Hex", "0x1F", 0},
                                           Number{"Letters", "abc", 0}, Number{"Empty", "", 0},
                                           Number{"OutOfRange", "99999999999", 0}),
                         [](const ::testing::TestParamInfo<Number>& info) { return std::string(info.param.name); });

TEST(ConfigGetInt, AddsAnAbsentKeyWithAnEmptyValueAndGivesZero) {
    Config config;
    EXPECT_EQ(config.get_int("absent"), 0);
    EXPECT_EQ(Render(config), "absent=;");
}

} // namespace
