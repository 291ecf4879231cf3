#pragma once

#include <QApplication>

#include <memory>

class QLockFile;

// The launcher's application object, which also tells whether this executable already runs for
// this user. The answer comes from a lock file taken in the constructor and held until the
// process ends; the operating system's view of the holder's pid decides, so a launcher that
// crashed never blocks the next start.
class QtSingleApplication : public QApplication {
public:
    // Takes the instance when it is free. GUIenabled is ignored on purpose: a Qt 5 QApplication
    // always has a graphical interface, so the flag only documents the caller's intent.
    QtSingleApplication(int& argc, char** argv, bool GUIenabled = true);
    ~QtSingleApplication() override;

    // True when another live process of this executable (same path), run by this user, holds
    // the instance. A lock that cannot be created (a folder we cannot write) answers false on
    // purpose: no reason to keep the user from the client.
    bool isRunning() const;

private:
    std::unique_ptr<QLockFile> m_lock;
    bool m_running;
};
