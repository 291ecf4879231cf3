#include <QApplication>
#include <QIcon>
#include <QTranslator>
#include <gtest/gtest.h>

#include "processing_progress_dialog.h"
#include "str_table.h"

int qInitResources_texts();

void PrintTo(const QString& text, std::ostream* os) {
    *os << '"' << text.toStdString() << '"';
}

namespace {

// English unless a test installs a translator; the test executable's bundle has no icon file.
class ProgressDialog : public ::testing::Test {
protected:
    void SetUp() override {
        static int argc = 1;
        static char* argv[] = {const_cast<char*>("progress_dialog_test"), nullptr};
        // Never destroyed: the offscreen platform plugin would leak its screen at teardown.
        [[maybe_unused]] static QApplication* app = new QApplication(argc, argv);
        StrTable::InitStrTable();
    }
};

TEST_F(ProgressDialog, StartsHiddenAtZeroWithoutMissingIconAndKeepsItsWidthForALongLabel) {
    ProcessingProgressDialog dialog;
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Orvane Velmora"));
    EXPECT_EQ(dialog.labelText(), QStringLiteral("Velmora is initializing..."));
    EXPECT_EQ(dialog.value(), 0);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_TRUE(dialog.windowIcon().isNull());
    dialog.setLabelText(QString(200, QLatin1Char('x')));
    dialog.show();
    EXPECT_EQ(dialog.width(), 400);
}

TEST_F(ProgressDialog, SpeaksTheLanguageInstalledBeforeItWasBuilt) {
    qInitResources_texts();
    QTranslator german;
    ASSERT_TRUE(german.load(QStringLiteral(":/deu.qm")));
    QCoreApplication::installTranslator(&german);
    ProcessingProgressDialog dialog;
    QCoreApplication::removeTranslator(&german);
    EXPECT_EQ(dialog.labelText(), QStringLiteral("Velmora wird initialisiert..."));
}

} // namespace
