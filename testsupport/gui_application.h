#pragma once

class QApplication;

namespace testsupport {

// The process's one QApplication for widget tests, made at the first call and never destroyed:
// the offscreen platform plugin would leak its screen at teardown, and Qt cannot build a second
// one after that anyway. Call it on the main thread before touching a widget.
QApplication* GuiApplication();

} // namespace testsupport
