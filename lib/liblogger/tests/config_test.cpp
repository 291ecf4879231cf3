#include <gtest/gtest.h>

#include <string>
#include <vector>

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

TEST(ConfigRead, AcceptsEveryValidLineFormAndKeepsEarlierEntries) {
    // The 10,000-byte line is read as two lines: its first 8191 bytes, then the rest.
    const std::string x(8189, 'x'), y(1806, 'y');
    testsupport::TempDir dir;
    ASSERT_TRUE(testsupport::writeFile(dir / "c.conf", "k=" + x + "j=" + y +
                                                           "\n# comment\n\n  \t\f\nkey=value\r\nq=''\n=5\na.b-c_D9=v\n"
                                                           "w='two words'\nd=\"it's\"\ns='say \"hi\"'\nr=1\nr=2\n"
                                                           "name=Zo\xC3\xAB\nc = b   # note\nh=d#e\nf#g=1\nlast"));
    Config config;
    config["zz"] = "kept";
    ASSERT_EQ(config.read(dir / "c.conf"), 0);
    EXPECT_EQ(Render(config), "=5;a.b-c_D9=v;c=b;d=it's;h=d#e;j=" + y + ";k=" + x +
                                  ";key=value;name=Zo\xC3\xAB;q=;r=2;s=say \"hi\";w=two words;zz=kept;");
}

TEST(ConfigRead, AnySyntaxErrorEmptiesTheWholeMap) {
    const std::vector<std::string> rejected = {
        "key=\n", "key=   \n", "[section]\n", "my key=1\n", "a='open\n",        "a=\"t\tb\"\n",
        "abc\n",  "a=b c\n",   "a=b\x01\n",   "a='b'c\n",   "\xEF\xBB\xBFz=1\n"};
    testsupport::TempDir dir;
    for (const auto& text : rejected) {
        ASSERT_TRUE(testsupport::writeFile(dir / "c.conf", "x=1\n" + text + "y=2\n"));
        Config config;
        config["zz"] = "kept";
        EXPECT_EQ(config.read(dir / "c.conf"), -1) << text;
        EXPECT_EQ(Render(config), "") << text;
    }
}

TEST(ConfigGetInt, ReadsALeadingDecimalNumberAndZeroForAnythingElse) {
    Config config;
    std::string numbers;
    for (const char* text : {"7", "-1", "+12abc", "0x1F", "abc", "", "99999999999"}) {
        config["v"] = text;
        numbers += std::to_string(config.get_int("v")) + " ";
    }
    EXPECT_EQ(numbers, "7 -1 12 0 0 0 0 ");
    EXPECT_EQ(config.get_int("absent"), 0);
    EXPECT_EQ(Render(config), "absent=;v=99999999999;");
}

} // namespace
