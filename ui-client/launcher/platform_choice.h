#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

struct xcb_connection_t;

// The Qt platform the launcher starts on in this session. Qt ends the whole process with an abort
// when the platform it is asked for has no plugin in the bundle or cannot reach its display, yet
// the launcher's job (a current per-user copy and a started client) never needed a window. So
// before the application object exists, main picks a platform that will start: the one asked
// for when it can, else the other desktop whose display answers, else offscreen, where the
// dialog shows nowhere. Used on the interface thread only, before and just after the
// application object is made.
class SessionPlatform {
public:
    // What the environment says about the session.
    struct Session {
        QString asked;          // QT_QPA_PLATFORM: empty when unset, else Qt's list "name[:args];..."
        QString display;        // DISPLAY
        QString waylandDisplay; // WAYLAND_DISPLAY
        QString runtimeDir;     // XDG_RUNTIME_DIR
    };
    // The questions put to the machine; tests answer them themselves.
    struct Probes {
        std::function<bool(const QString& platform)> bundleHas;
        std::function<bool(const QString& socket)> waylandAnswers;
        std::function<bool(const QString& display)> xAnswers;
    };

    // The decision alone. Qt's own default, when nothing is asked for, is xcb.
    static SessionPlatform Choose(const Session& session, const Probes& probes);
    // Reads the environment, asks the machine through the bundle's plugin folder, and points
    // QT_QPA_PLATFORM at the choice when it is not what Qt would load anyway. Must run before
    // the application object exists; costs one connect to the asked display when that is fine.
    static SessionPlatform ChooseForThisSession(const QString& pluginDir);

    // Where a Wayland client connects: WAYLAND_DISPLAY as an absolute path, else that name
    // (default "wayland-0") in XDG_RUNTIME_DIR; empty when there is no runtime folder to look in.
    static QString WaylandSocket(const Session& session);
    // Whether a compositor listens on the socket: a socket file that accepts a connection.
    static bool WaylandAnswers(const QString& socket);
    // Whether an X server accepts a connection (authorisation included) on the display.
    static bool XAnswers(const QString& display);
    // Whether the bundle's plugin folder holds the platform plugin of that name, as a file.
    static bool BundleHas(const QString& pluginDir, const QString& platform);

    // After the logger exists: a warning that names the platform and why, when it is not the one
    // asked for; the platform Qt runs on at debug level in every case.
    void Log() const;

    const QString& Platform() const { return platform_; }
    bool AsAsked() const { return asAsked_; }
    // Why the platforms tried before this one could not start; empty when it is the one asked for.
    const QString& Why() const { return why_; }

private:
    QString platform_; // a platform name with its arguments, as QT_QPA_PLATFORM takes it
    bool asAsked_ = true;
    QString why_;
    // The probe's X connection, kept while this object lives (main keeps it to the end): an X
    // server whose last client leaves resets itself, and Qt's own connect right after the probe
    // then waited 50 ms for Xvfb to come back.
    std::shared_ptr<xcb_connection_t> x_;
};
