#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QIcon>
#include <QImage>
#include <QTranslator>
#include <gtest/gtest.h>

#include "cloud-service.h"
#include "gui_application.h"
#include "processing_progress_dialog.h"
#include "str_table.h"

int qInitResources_texts();

void PrintTo(const QString& text, std::ostream* os) {
    *os << '"' << text.toStdString() << '"';
}

namespace {

// English unless a case installs a translator. The test runs inside a bundle of its own, whose
// icon file a case may write; it is gone at the start of every case.
class ProgressDialog : public ::testing::Test {
protected:
    void SetUp() override {
        testsupport::GuiApplication();
        StrTable::InitStrTable();
        QFile::remove(IconPath());
    }
    void TearDown() override { QFile::remove(IconPath()); }
    static QString IconPath() {
        return QString::fromUtf8(Service::GetRootVelmoraResourceInstallPath().c_str()) +
               QStringLiteral("/images/ico_72_velmora.png");
    }
};

// Nothing shows until the launcher asks, whatever the label; once shown, the box keeps its width
// however long the label grows.
TEST_F(ProgressDialog, ShowsTitleAndFirstLabelAtZeroOnlyWhenAskedInABoxOfFixedWidth) {
    ProcessingProgressDialog dialog;
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Orvane Velmora"));
    EXPECT_EQ(dialog.labelText(), QStringLiteral("Velmora is initializing..."));
    EXPECT_EQ(dialog.value(), 0);
    dialog.setLabelText(QString(200, QLatin1Char('x')));
    QCoreApplication::processEvents();
    EXPECT_FALSE(dialog.isVisible());
    dialog.show();
    QCoreApplication::processEvents();
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_EQ(dialog.width(), 400);
}

// The icon follows the bundle the user started: read from its folder on disk, and none at all
// (rather than one that cannot be drawn) when the file is missing.
TEST_F(ProgressDialog, TakesItsIconFromTheBundleOnDiskAndHasNoneWithoutTheFile) {
    EXPECT_TRUE(ProcessingProgressDialog().windowIcon().isNull());
    ASSERT_TRUE(QDir().mkpath(QFileInfo(IconPath()).path()));
    QImage red(72, 72, QImage::Format_ARGB32);
    red.fill(Qt::red);
    ASSERT_TRUE(red.save(IconPath()));
    const QIcon icon = ProcessingProgressDialog().windowIcon();
    ASSERT_FALSE(icon.isNull());
    EXPECT_EQ(icon.pixmap(72).toImage().pixelColor(36, 36), QColor(Qt::red));
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
