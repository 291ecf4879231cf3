// Which platform the launcher starts on, for the sessions users have: the decision with the
// machine's answers given by each row, then the real questions put to the machine.

#include <gtest/gtest.h>

#include <cstdlib>
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
    SessionPlatform::Session session;
    std::set<QString> answering; // Wayland sockets and X displays that answer
    const char* platform;
    bool asAsked;
    const char* why; // a part of the reason, when it is not the platform asked for
};

void PrintTo(const Row& row, std::ostream* os) {
    *os << row.name;
}

// The bundle ships what tools/bundle deploys.
const std::set<QString> kBundle = {"xcb", "wayland", "offscreen", "minimal"};

class PlatformDecision : public ::testing::TestWithParam<Row> {};

TEST_P(PlatformDecision, StartsOnAPlatformThatCanStart) {
    const Row& row = GetParam();
    const auto answers = [&](const QString& where) { return row.answering.count(where) > 0; };
    const SessionPlatform::Probes probes{[](const QString& p) { return kBundle.count(p) > 0; }, answers, answers};
    const SessionPlatform choice = SessionPlatform::Choose(row.session, probes);
    EXPECT_EQ(choice.Platform().toStdString(), row.platform);
    EXPECT_EQ(choice.AsAsked(), row.asAsked);
    EXPECT_NE(choice.Why().toStdString().find(row.why), std::string::npos) << choice.Why().toStdString();
    EXPECT_EQ(choice.Why().isEmpty(), row.asAsked);
}

INSTANTIATE_TEST_SUITE_P(
    Sessions, PlatformDecision,
    ::testing::Values(
        Row{"XDefaultAnswers", {"", ":0", "", "/run/u"}, {":0"}, "xcb", true, ""},
        Row{"WaylandAsked", {"wayland", "", "", "/run/u"}, {"/run/u/wayland-0"}, "wayland", true, ""},
        Row{"ArgumentsKept", {"xcb:nograb", ":0", "", ""}, {":0"}, "xcb:nograb", true, ""},
        Row{"OffscreenAsked", {"offscreen", "", "", ""}, {}, "offscreen", true, ""},
        Row{"UnknownPlatform", {"cocoa", ":0", "", ""}, {":0"}, "xcb", false, "no platform plugin 'cocoa'"},
        Row{"EglNotShipped",
            {"wayland-egl", "", "", "/run/u"},
            {"/run/u/wayland-0"},
            "wayland",
            false,
            "no platform plugin 'wayland-egl'"},
        Row{"WaylandNamesNoSocket",
            {"wayland", ":0", "wayland-9", "/run/u"},
            {":0", "/run/u/wayland-0"},
            "xcb",
            false,
            "no Wayland compositor answers at '/run/u/wayland-9'"},
        Row{"WaylandAbsolutePath", {"wayland", "", "/tmp/w/sock", ""}, {"/tmp/w/sock"}, "wayland", true, ""},
        Row{"DisplayWithoutServer",
            {"", ":5", "", "/run/u"},
            {"/run/u/wayland-0"},
            "wayland",
            false,
            "no X server answers on DISPLAY ':5'"},
        Row{"ListFallsToItsNext", {"wayland;xcb", ":0", "", "/run/u"}, {":0"}, "xcb", false, "'/run/u/wayland-0'"},
        Row{"NoRuntimeFolder", {"wayland", ":7", "wayland-0", ""}, {}, "offscreen", false, "XDG_RUNTIME_DIR"},
        Row{"NothingAtAll", {"", "", "", ""}, {}, "offscreen", false, "DISPLAY is not set"}),
    [](const ::testing::TestParamInfo<Row>& info) { return std::string(info.param.name); });

// A socket file in dir; listening or left behind by a compositor that has gone.
std::string MakeSocket(const std::string& path, bool listening) {
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    snprintf(addr.sun_path, sizeof(addr.sun_path), "%s", path.c_str());
    EXPECT_EQ(0, bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof(addr))) << path;
    EXPECT_EQ(0, listen(fd, 1));
    if (!listening)
        close(fd);
    return path;
}

TEST(SessionProbes, AnswerOnlyForWhatCanReallyStart) {
    testsupport::TempDir dir;
    EXPECT_TRUE(SessionPlatform::WaylandAnswers(QString::fromStdString(MakeSocket(dir / "live", true))));
    EXPECT_FALSE(SessionPlatform::WaylandAnswers(QString::fromStdString(MakeSocket(dir / "stale", false))));
    testsupport::writeFile(dir / "plain", "");
    EXPECT_FALSE(SessionPlatform::WaylandAnswers(QString::fromStdString(dir / "plain")));
    EXPECT_FALSE(SessionPlatform::WaylandAnswers(QString::fromStdString(dir / "missing")));
    EXPECT_FALSE(SessionPlatform::XAnswers(QStringLiteral(":4093")));

    const QString plugins = QString::fromStdString(dir.path());
    testsupport::writeFile(dir / "platforms/libqwayland-generic.so", "");
    ASSERT_EQ(0, mkfifo((dir / "platforms/libqxcb.so").c_str(), 0600));
    EXPECT_TRUE(SessionPlatform::BundleHas(plugins, QStringLiteral("wayland")));
    EXPECT_FALSE(SessionPlatform::BundleHas(plugins, QStringLiteral("xcb"))) << "a FIFO is no plugin";
    EXPECT_FALSE(SessionPlatform::BundleHas(plugins, QStringLiteral("offscreen")));
}

TEST(SessionProbes, NoDisplayPointsQtAtOffscreen) {
    testsupport::TempDir dir;
    testsupport::writeFile(dir / "platforms/libqoffscreen.so", "");
    unsetenv("QT_QPA_PLATFORM");
    unsetenv("DISPLAY");
    unsetenv("WAYLAND_DISPLAY");
    setenv("XDG_RUNTIME_DIR", dir.path().c_str(), 1);
    const SessionPlatform choice = SessionPlatform::ChooseForThisSession(QString::fromStdString(dir.path()));
    EXPECT_EQ(choice.Platform(), QStringLiteral("offscreen"));
    EXPECT_STREQ(getenv("QT_QPA_PLATFORM"), "offscreen");
}

} // namespace
