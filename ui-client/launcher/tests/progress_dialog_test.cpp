#include <QApplication>
#include <QIcon>
#include <QPushButton>
#include <QTranslator>
#include <gtest/gtest.h>
#include <thread>

#include "launcher.h"
#include "notify_adapter.h"
#include "processing_progress_dialog.h"
#include "str_table.h"

int qInitResources_texts();

void PrintTo(const QString& text, std::ostream* os) {
    *os << '"' << text.toStdString() << '"';
}

namespace {

QString q(const char* text) {
    return QString::fromUtf8(text);
}

// No translator unless a test installs one, so the texts are English. The test executable's
// bundle has no icon file.
class ProgressDialog : public ::testing::Test {
protected:
    void SetUp() override {
        static int argc = 1;
        static char* argv[] = {const_cast<char*>("progress_dialog_test"), nullptr};
        // Never destroyed: the offscreen platform plugin would leak its screen at teardown.
        [[maybe_unused]] static QApplication* app = new QApplication(argc, argv);
        StrTable::InitStrTable();
    }
    // The dialog that a Launcher builds and configures.
    static ProcessingProgressDialog* LaunchersDialog() {
        for (QWidget* w : QApplication::topLevelWidgets())
            if (auto* d = qobject_cast<ProcessingProgressDialog*>(w))
                return d;
        return nullptr;
    }
};

TEST_F(ProgressDialog, ShowsTheProductNameAndThePreparingTextWhileHidden) {
    ProcessingProgressDialog dialog;
    EXPECT_EQ(dialog.windowTitle(), q("Orvane Velmora"));
    EXPECT_EQ(dialog.labelText(), q("Velmora is initializing..."));
    EXPECT_EQ(dialog.value(), 0);
    EXPECT_FALSE(dialog.isVisible());
}

// The dialog takes its texts when it is built, from whatever translation start-up installed.
TEST_F(ProgressDialog, SpeaksTheLanguageInstalledBeforeItWasBuilt) {
    qInitResources_texts();
    QTranslator german;
    ASSERT_TRUE(german.load(q(":/deu.qm")));
    QCoreApplication::installTranslator(&german);
    ProcessingProgressDialog dialog;
    QCoreApplication::removeTranslator(&german);
    EXPECT_EQ(dialog.labelText(), q("Velmora wird initialisiert..."));
    EXPECT_EQ(dialog.windowTitle(), q("Orvane Velmora"));
}

TEST_F(ProgressDialog, KeepsItsWidthWhenALongLabelArrives) {
    ProcessingProgressDialog dialog;
    dialog.setLabelText(QString(200, QLatin1Char('x')));
    dialog.show();
    EXPECT_EQ(dialog.width(), 400);
}

TEST_F(ProgressDialog, HasNoIconWhenTheBundleLacksTheIconFile) {
    ProcessingProgressDialog dialog;
    EXPECT_TRUE(dialog.windowIcon().isNull());
}

// The extractor reports from the worker thread; the text must reach the dialog through the
// interface thread's event loop, and a hidden dialog must stay hidden.
TEST_F(ProgressDialog, TakesALabelFromTheWorkerThroughTheAdapterWithoutShowingItself) {
    Launcher launcher;
    ProcessingProgressDialog* dialog = LaunchersDialog();
    ASSERT_NE(dialog, nullptr);
    std::thread worker([] { Notify_Adapter::GetInstance()->UpdateDialogText(q("Unpacking")); });
    worker.join();
    EXPECT_EQ(dialog->labelText(), q("Velmora is initializing...")) << "set on the worker thread";
    QCoreApplication::processEvents();
    EXPECT_EQ(dialog->labelText(), q("Unpacking"));
    EXPECT_FALSE(dialog->isVisible());
}

TEST_F(ProgressDialog, StaysAt100WhenTheLastEntryIsReported) {
    Launcher launcher;
    ProcessingProgressDialog* dialog = LaunchersDialog();
    ASSERT_NE(dialog, nullptr);
    Notify_Adapter::GetInstance()->UpdateProgress(1, 1);
    EXPECT_EQ(dialog->value(), 100);
}

TEST_F(ProgressDialog, OffersNoWayToCancelTheUpgrade) {
    Launcher launcher;
    ProcessingProgressDialog* dialog = LaunchersDialog();
    ASSERT_NE(dialog, nullptr);
    EXPECT_TRUE(dialog->findChildren<QPushButton*>().isEmpty());
}

} // namespace
