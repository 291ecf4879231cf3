#include <QApplication>
#include <QIcon>
#include <gtest/gtest.h>

#include "processing_progress_dialog.h"
#include "str_table.h"

// No translator, so the texts are English; the test executable's bundle has no icon file.
TEST(ProgressDialog, IsBuiltHiddenAndConfiguredWithoutIconWhenBundleLacksIt) {
    static int argc = 0;
    static QApplication* app = new QApplication(argc, nullptr);
    StrTable::InitStrTable();
    ProcessingProgressDialog d;
    EXPECT_EQ(d.windowTitle() + '|' + d.labelText(), QLatin1String("Orvane Velmora|Velmora is initializing..."));
    EXPECT_EQ(d.windowFlags(), Qt::Window | Qt::WindowTitleHint | Qt::WindowSystemMenuHint);
    EXPECT_TRUE(d.width() == 400 && d.windowModality() == Qt::WindowModal &&
                d.font().family() == QLatin1String("Arial"));
    EXPECT_EQ(d.styleSheet(),
              QLatin1String(" QProgressDialog { background-color: WhiteSmoke; \n  vertical-align: middle } "));
    EXPECT_TRUE(d.windowIcon().isNull() && d.value() == 0 && d.maximum() == 100 && !d.isVisible() && app);
}
