// bench-minimal-qt [--open <application bundle>]
//
// The floor under any Qt Widgets launcher: an application object, a progress dialog that is
// built but never shown, one pass through the event loop, exit. scripts/bench starts it side by
// side with the real launcher so that the launcher's own start-up cost can be told apart from
// Qt's and the display's. With --open it also opens a bundle through the desktop services, as
// the launcher does at the end of every run (with the launcher's bundle opener, which starts the
// client), which tells how much of the difference that costs.

#include <QApplication>
#include <QDesktopServices>
#include <QProgressDialog>
#include <QString>
#include <QTimer>
#include <QUrl>

#include <cstring>

#include "platform/bundle_opener.h"

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    QProgressDialog dialog;
    // The dialog arms a timer that would show it after a while; the loop ends long before.
    dialog.hide();
    if (argc == 3 && std::strcmp(argv[1], "--open") == 0)
        bundleopener::InstallBundleOpener();
    if (argc == 3 && std::strcmp(argv[1], "--open") == 0 &&
        !QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromUtf8(argv[2]))))
        return 1;
    // A launcher needs the event loop to hear back from its worker, so the floor includes it.
    QTimer::singleShot(0, &app, &QCoreApplication::quit);
    return app.exec();
}
