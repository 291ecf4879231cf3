#include <QApplication>
#include <QDesktopServices>
#include <QPushButton>
#include <QTimer>
#include <QUrl>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>

#include "file_tree.h"
#include "gui_application.h"
#include "launcher.h"
#include "notify_adapter.h"
#include "processing_progress_dialog.h"
#include "str_table.h"
#include "temp_dir.h"

using namespace testsupport;

namespace {

// The test executable's bundle has neither INFO nor package: without a per-user client a run
// wants an upgrade that fails, with one it has nothing to do. The fixture stands in for the
// desktop: it records, after an optional pause, the file a run opens.
class LauncherTest : public QObject, public ::testing::Test {
    Q_OBJECT
public slots:
    void open(const QUrl& url) {
        opening_ = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(delay_ms_));
        opened_ = url.toLocalFile().toStdString();
    }

protected:
    void SetUp() override {
        GuiApplication();
        StrTable::InitStrTable();
        QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "open");
    }
    void TearDown() override { QDesktopServices::unsetUrlHandler(QStringLiteral("file")); }
    // The launcher's one window.
    static ProcessingProgressDialog* Dialog() {
        return qobject_cast<ProcessingProgressDialog*>(QApplication::topLevelWidgets().value(0));
    }
    // One run through the event loop, as main does it, which must end with the dialog hidden at
    // 100 and the client opened; tells whether the dialog was ever shown (only that gives it a window).
    bool RunShowsDialog() {
        Launcher launcher;
        QTimer::singleShot(60000, &launcher, &QCoreApplication::quit);
        launcher.Run();
        launcher.Start();
        QCoreApplication::exec();
        EXPECT_TRUE(Dialog()->value() == 100 && !Dialog()->isVisible());
        EXPECT_EQ(opened_, home_.path() + "/.Velmora/Velmora.app");
        return Dialog()->windowHandle() != nullptr;
    }
    ScratchHome home_;
    int delay_ms_ = 0;
    std::atomic<bool> opening_{false};
    std::string opened_;
};

// The extractor reports from the worker thread: its label arrives through this thread's event
// loop. The dialog only reports: nothing to cancel, and an empty total changes nothing.
TEST_F(LauncherTest, HiddenDialogShowsTruncatedProgressAndLabelsFromTheWorkerWithoutCancel) {
    Launcher launcher;
    EXPECT_TRUE(Dialog()->findChildren<QPushButton*>().isEmpty());
    Notify_Adapter::GetInstance()->UpdateProgress(3, 2);
    EXPECT_EQ(Dialog()->value(), 66);
    Notify_Adapter::GetInstance()->UpdateProgress(0, 1);
    EXPECT_EQ(Dialog()->value(), 66);
    std::thread([] { Notify_Adapter::GetInstance()->UpdateDialogText(QStringLiteral("Unpacking")); }).join();
    EXPECT_EQ(Dialog()->labelText(), QStringLiteral("Velmora is initializing...")) << "set on the worker thread";
    QCoreApplication::processEvents();
    EXPECT_EQ(Dialog()->labelText(), QStringLiteral("Unpacking"));
    EXPECT_FALSE(Dialog()->isVisible());
}

TEST_F(LauncherTest, DialogShowsOnlyForUpgradeAndEveryRunEndsHiddenAt100WithClientOpened) {
    EXPECT_TRUE(RunShowsDialog());
    writeFile(home_.path() + "/.Velmora/Velmora.app/Contents/MacOS/cloud-ui", "");
    writeFile(home_.path() + "/.Velmora/Velmora.app/Contents/Resources/INFO", "[Version]\nbuild_version=1\n");
    EXPECT_FALSE(RunShowsDialog());
}

// The event loop can end without LaunchDone (the user closed the dialog); tearing down must
// neither abort the process nor cut the run short.
TEST_F(LauncherTest, TearDownDuringRunWaitsForRunToFinish) {
    delay_ms_ = 300;
    auto* launcher = new Launcher;
    launcher->Run();
    launcher->Start();
    for (int ms = 0; ms < 60000 && !opening_; ++ms)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    delete launcher;
    EXPECT_EQ(opened_, home_.path() + "/.Velmora/Velmora.app");
}

} // namespace

#include "launcher_test.moc"
