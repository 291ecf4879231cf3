#include "platform_choice.h"

#include <QFileInfo>
#include <QGuiApplication>

#include <cstring>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include "log.h"

namespace {

// The platform name of a QT_QPA_PLATFORM entry, without the arguments after ':'.
QString NameOf(const QString& entry) {
    return entry.section(QLatin1Char(':'), 0, 0).trimmed();
}

bool IsWayland(const QString& name) {
    return name == QLatin1String("wayland") || name.startsWith(QLatin1String("wayland-"));
}

// Whether the platform can start in this session; when not, why goes to *why.
bool CanStart(const QString& name, const SessionPlatform::Session& session, const SessionPlatform::Probes& probes,
              QString* why) {
    if (!probes.bundleHas(name)) {
        *why = QStringLiteral("the bundle has no platform plugin '%1'").arg(name);
        return false;
    }
    if (IsWayland(name)) {
        const QString socket = SessionPlatform::WaylandSocket(session);
        if (socket.isEmpty())
            *why = QStringLiteral("XDG_RUNTIME_DIR is not set, so there is no Wayland socket to find");
        else if (!probes.waylandAnswers(socket))
            *why = QStringLiteral("no Wayland compositor answers at '%1'").arg(socket);
        return why->isEmpty();
    }
    if (name == QLatin1String("xcb")) {
        if (session.display.isEmpty())
            *why = QStringLiteral("DISPLAY is not set");
        else if (!probes.xAnswers(session.display))
            *why = QStringLiteral("no X server answers on DISPLAY '%1'").arg(session.display);
        return why->isEmpty();
    }
    // offscreen and minimal need no display; any other plugin the bundle ships is taken on trust.
    return true;
}

// A connection to the X display, null when no server accepts one.
std::shared_ptr<xcb_connection_t> ConnectX(const QString& display) {
    std::shared_ptr<xcb_connection_t> connection(xcb_connect(display.toUtf8().constData(), nullptr), xcb_disconnect);
    return xcb_connection_has_error(connection.get()) == 0 ? connection : nullptr;
}

} // namespace

SessionPlatform SessionPlatform::Choose(const Session& session, const Probes& probes) {
    QStringList asked = session.asked.split(QLatin1Char(';'), Qt::SkipEmptyParts);
    if (asked.isEmpty())
        asked << QStringLiteral("xcb");
    SessionPlatform choice;
    QStringList reasons, tried;
    for (const QString& entry : asked) {
        QString why;
        if (CanStart(NameOf(entry), session, probes, &why)) {
            choice.platform_ = entry.trimmed();
            choice.asAsked_ = reasons.isEmpty();
            choice.why_ = reasons.join(QStringLiteral("; "));
            return choice;
        }
        reasons << why;
        tried << NameOf(entry);
    }
    choice.asAsked_ = false;
    // The desktops a user's session runs: whichever of them answers will show the dialog.
    for (const QString& desktop : {QStringLiteral("wayland"), QStringLiteral("xcb")}) {
        QString why;
        if (tried.contains(desktop))
            continue;
        if (CanStart(desktop, session, probes, &why)) {
            choice.platform_ = desktop;
            choice.why_ = reasons.join(QStringLiteral("; "));
            return choice;
        }
        reasons << why;
    }
    // No display: the run still does its whole job, with a dialog that shows nowhere.
    choice.platform_ = QStringLiteral("offscreen");
    choice.why_ = reasons.join(QStringLiteral("; ")) + QStringLiteral("; the dialog shows nowhere");
    return choice;
}

SessionPlatform SessionPlatform::ChooseForThisSession(const QString& pluginDir) {
    const Session session{qEnvironmentVariable("QT_QPA_PLATFORM"), qEnvironmentVariable("DISPLAY"),
                          qEnvironmentVariable("WAYLAND_DISPLAY"), qEnvironmentVariable("XDG_RUNTIME_DIR")};
    std::shared_ptr<xcb_connection_t> x;
    const Probes probes{[&](const QString& platform) { return BundleHas(pluginDir, platform); }, WaylandAnswers,
                        [&](const QString& display) { return (x = ConnectX(display)) != nullptr; }};
    SessionPlatform choice = Choose(session, probes);
    if (NameOf(choice.platform_) == QLatin1String("xcb"))
        choice.x_ = x;
    // Unset, Qt loads xcb itself; a list is cut down to the entry that can start.
    if (!(session.asked.isEmpty() && choice.asAsked_))
        qputenv("QT_QPA_PLATFORM", choice.platform_.toUtf8());
    return choice;
}

QString SessionPlatform::WaylandSocket(const Session& session) {
    const QString name = session.waylandDisplay.isEmpty() ? QStringLiteral("wayland-0") : session.waylandDisplay;
    if (name.startsWith(QLatin1Char('/')))
        return name;
    return session.runtimeDir.isEmpty() ? QString() : session.runtimeDir + QLatin1Char('/') + name;
}

bool SessionPlatform::WaylandAnswers(const QString& socket) {
    const QByteArray path = socket.toUtf8();
    struct stat st;
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    // A leftover socket file with nobody listening, or a plain file of that name, is no compositor;
    // a link to a live socket is one, as the client library sees it.
    if (stat(path.constData(), &st) != 0 || !S_ISSOCK(st.st_mode) || size_t(path.size()) >= sizeof(addr.sun_path))
        return false;
    memcpy(addr.sun_path, path.constData(), size_t(path.size()));
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return false;
    const bool answers = connect(fd, reinterpret_cast<const sockaddr*>(&addr), sizeof(addr)) == 0;
    close(fd);
    return answers;
}

bool SessionPlatform::XAnswers(const QString& display) {
    return ConnectX(display) != nullptr;
}

bool SessionPlatform::BundleHas(const QString& pluginDir, const QString& platform) {
    // Qt's own file names: the Wayland platform's plugin is the generic one, wayland-egl its GL one.
    QString file = QStringLiteral("libq%1.so").arg(platform);
    if (platform == QLatin1String("wayland"))
        file = QStringLiteral("libqwayland-generic.so");
    if (platform.contains(QLatin1Char('/')) || platform.isEmpty())
        return false;
    return QFileInfo(pluginDir + QStringLiteral("/platforms/") + file).isFile();
}

void SessionPlatform::Log() const {
    if (!asAsked_)
        Logger::LogMsg(Logger::LEVEL_WARNING, "launcher_debug", "[WARNING] platform_choice(%d): starting on '%s': %s\n",
                       __LINE__, platform_.toUtf8().constData(), why_.toUtf8().constData());
    Logger::LogMsg(Logger::LEVEL_DEBUG, "launcher_debug", "[DEBUG] platform_choice(%d): running on platform '%s'\n",
                   __LINE__, QGuiApplication::platformName().toUtf8().constData());
}
