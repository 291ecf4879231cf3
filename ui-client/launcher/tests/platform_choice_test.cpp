// Which platform the launcher starts on in the sessions users have: the decision with the
// machine's answers given by each row, then the questions really put to the machine.

#include <gtest/gtest.h>

#include <set>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "file_tree.h"
#include "platform_choice.h"
#include "temp_dir.h"

namespace {

struct Row {
    const char* name;
    SessionPlatform::Session session; // QT_QPA_PLATFORM, DISPLAY, WAYLAND_DISPLAY, XDG_RUNTIME_DIR
    std::set<QString> answering;      // the Wayland sockets and X displays that answer
    const char* platform;
    const char* why; // empty when it is the platform asked for
};
void PrintTo(const Row& row, std::ostream* os) {
    *os << row.name;
}

class PlatformDecision : public ::testing::TestWithParam<Row> {};

TEST_P(PlatformDecision, StartsOnAPlatformThatCanStart) {
    const Row& row = GetParam();
    const auto answers = [&](const QString& where) { return row.answering.count(where) > 0; };
    const auto shipped = [](const QString& p) { return std::set<QString>{"xcb", "wayland", "offscreen"}.count(p) > 0; };
    const SessionPlatform choice = SessionPlatform::Choose(row.session, {shipped, answers, answers});
    EXPECT_EQ(choice.Platform().toStdString(), row.platform);
    EXPECT_EQ(choice.AsAsked(), !*row.why);
    EXPECT_NE(choice.Why().toStdString().find(row.why), std::string::npos) << choice.Why().toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Sessions, PlatformDecision,
    ::testing::Values(
        Row{"XByDefault", {"", ":0", "", "/run/u"}, {":0"}, "xcb", ""},
        Row{"WaylandAtAnAbsolutePath", {"wayland", "", "/tmp/w/sock", ""}, {"/tmp/w/sock"}, "wayland", ""},
        Row{"UnknownPlatform", {"cocoa", ":0", "", ""}, {":0"}, "xcb", "the bundle has no platform plugin 'cocoa'"},
        Row{"WaylandNamesNoSocket",
            {"wayland", ":0", "wayland-9", "/run/u"},
            {":0", "/run/u/wayland-0"},
            "xcb",
            "no Wayland compositor answers at '/run/u/wayland-9'"},
        Row{"DisplayWithoutServer",
            {"", ":5", "", "/run/u"},
            {"/run/u/wayland-0"},
            "wayland",
            "no X server answers on DISPLAY ':5'"},
        Row{"ListTakesItsNext", {"wayland;xcb:nograb", ":0", "", "/run/u"}, {":0"}, "xcb:nograb", "wayland-0"},
        Row{"NothingAtAll", {"", "", "", ""}, {}, "offscreen", "DISPLAY is not set; XDG_RUNTIME_DIR"}),
    [](const ::testing::TestParamInfo<Row>& info) { return std::string(info.param.name); });

TEST(SessionProbes, AnswerOnlyForWhatCanReallyStart) {
    testsupport::TempDir dir;
    sockaddr_un addr{AF_UNIX, {}};
    snprintf(addr.sun_path, sizeof(addr.sun_path), "%s", (dir / "wayland-0").c_str());
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(0, bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof(addr)));
    ASSERT_EQ(0, listen(fd, 1));
    EXPECT_TRUE(SessionPlatform::WaylandAnswers(QString::fromUtf8(addr.sun_path)));
    close(fd);
    EXPECT_FALSE(SessionPlatform::WaylandAnswers(QString::fromUtf8(addr.sun_path))) << "a compositor gone";
    EXPECT_FALSE(SessionPlatform::XAnswers(QStringLiteral(":4093")));

    testsupport::writeFile(dir / "platforms/libqwayland-generic.so", "");
    ASSERT_EQ(0, mkfifo((dir / "platforms/libqxcb.so").c_str(), 0600));
    EXPECT_TRUE(SessionPlatform::BundleHas(QString::fromStdString(dir.path()), QStringLiteral("wayland")));
    EXPECT_FALSE(SessionPlatform::BundleHas(QString::fromStdString(dir.path()), QStringLiteral("xcb"))) << "a FIFO";
}

} // namespace
