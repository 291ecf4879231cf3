#include <QApplication>
#include <QIcon>
#include <QTranslator>
#include <gtest/gtest.h>

#include "processing_progress_dialog.h"
#include "str_table.h"

int qInitResources_texts();

namespace {

QApplication* App() {
    static int argc = 0;
    static QApplication* app = new QApplication(argc, nullptr);
    StrTable::InitStrTable();
    return app;
}

} // namespace

// No translator, so the texts are English; the test executable's bundle has no icon file.
TEST(ProgressDialog, IsBuiltHiddenAndConfiguredWithoutIconWhenBundleLacksIt) {
    ASSERT_TRUE(App());
    ProcessingProgressDialog d;
    EXPECT_EQ(d.windowTitle() + '|' + d.labelText(), QLatin1String("Orvane Velmora|Velmora is initializing..."));
    EXPECT_EQ(d.windowFlags(), Qt::Window | Qt::WindowTitleHint | Qt::WindowSystemMenuHint);
    EXPECT_TRUE(d.width() == 400 && d.windowModality() == Qt::WindowModal &&
                d.font().family() == QLatin1String("Arial"));
    EXPECT_EQ(d.styleSheet(),
              QLatin1String(" QProgressDialog { background-color: WhiteSmoke; \n  vertical-align: middle } "));
    EXPECT_TRUE(d.windowIcon().isNull() && d.value() == 0 && d.maximum() == 100 && !d.isVisible());
}

// The dialog takes its texts when it is built, from whatever translation start-up installed.
TEST(ProgressDialog, SpeaksGermanWithTheEmbeddedGermanTranslation) {
    ASSERT_TRUE(App());
    qInitResources_texts();
    QTranslator german;
    ASSERT_TRUE(german.load(QStringLiteral(":/deu.qm")));
    QCoreApplication::installTranslator(&german);
    ProcessingProgressDialog d;
    QCoreApplication::removeTranslator(&german);
    EXPECT_EQ(d.labelText(), QString::fromUtf8("Velmora wird initialisiert..."));
    EXPECT_EQ(d.windowTitle(), QLatin1String("Orvane Velmora"));
}
