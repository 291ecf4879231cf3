#include "gui_application.h"

#include <QApplication>
#include <cerrno>

namespace testsupport {

QApplication* GuiApplication() {
    static int argc = 1;
    static char* argv[] = {program_invocation_short_name, nullptr};
    static QApplication* app = new QApplication(argc, argv);
    return app;
}

} // namespace testsupport
