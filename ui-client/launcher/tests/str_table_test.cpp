#include "str_table.h"

#include "orvane_locale.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>
#include <QTranslator>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <cstdlib>

int qInitResources_texts();

void PrintTo(const QString& text, std::ostream* os) {
    *os << '"' << text.toStdString() << '"';
}

namespace {

QString q(const char* text) {
    return QString::fromUtf8(text);
}

// Translators only take effect through an application object.
class StrTableTest : public ::testing::Test {
protected:
    void SetUp() override {
        qInitResources_texts();
        StrTable::InitStrTable();
    }

    int argc = 1;
    char* argv[2] = {const_cast<char*>("str_table_test"), nullptr};
    QCoreApplication app{argc, argv};
};

// Answers with an escaped line break and tab, as translation files write them.
class EscapingTranslator : public QTranslator {
public:
    bool isEmpty() const override { return false; }
    QString translate(const char*, const char*, const char*, int) const override { return q("A\\nB\\tC"); }
};

// Checked in a fresh process of this executable, where nothing has filled the table yet.
TEST(StrTableUnfilled, ReturnsNothingBeforeTheTableIsFilled) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const bool empty = StrTable::LoadStr(98).isEmpty() && StrTable::LookupStrID(q("app_name")) == -1;
            StrTable::InitStrTable();
            std::exit(empty && StrTable::LoadStr(98) == q("Orvane Velmora") ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST_F(StrTableTest, TurnsEscapedLineBreaksAndTabsIntoRealOnes) {
    EscapingTranslator translator;
    ASSERT_TRUE(QCoreApplication::installTranslator(&translator));
    EXPECT_EQ(StrTable::LoadStr(445), q("A\nB\tC"));
    QCoreApplication::removeTranslator(&translator);
}

struct KeyRow {
    const char* name;
    const char* key;
    int id;
};

class StrTableKey : public StrTableTest, public ::testing::WithParamInterface<KeyRow> {};

TEST_P(StrTableKey, FindsTheRowIgnoringCase) {
    EXPECT_EQ(StrTable::LookupStrID(q(GetParam().key)), GetParam().id);
}

const KeyRow kKeys[] = {{"FirstRow", "status_desc_pause", 0},
                        {"UpperCase", "APP_NAME", 98},
                        {"UpperCaseRowInLowerCase", "nsis_velmora_installed_current", 455},
                        {"LastRow", "file_max_size_limit", 470},
                        {"Empty", "", -1},
                        {"Prefix", "app_nam", -1},
                        {"Longer", "app_name_", -1}};
INSTANTIATE_TEST_SUITE_P(Keys, StrTableKey, ::testing::ValuesIn(kKeys),
                         [](const auto& info) { return info.param.name; });

class StrTableLanguage : public StrTableTest, public ::testing::WithParamInterface<QString> {};

// Code fills in "%1", the installer "[ProductName]", menus make "&" and the next letter an accelerator.
// A table text edited without running update_translations silently loses its translations.
TEST_P(StrTableLanguage, TranslatesTheTableTextsKeepingTheirMarkers) {
    QStringList english;
    for (int id = 0; id < StrTable::kRowCount; ++id)
        english << StrTable::LoadStr(id);
    QTranslator translator;
    ASSERT_TRUE(translator.load(q(":/") + GetParam() + q(".qm")));
    QCoreApplication::installTranslator(&translator);
    for (int id : {28, 209, 235, 273, 348, 390, 445})
        EXPECT_TRUE(GetParam() == q("enu") || StrTable::LoadStr(id) != english[id]) << "row " << id;
    for (int id = 0; id < StrTable::kRowCount; ++id)
        for (const char* marker : {"%1", "\\[ProductName\\]", "&\\S"}) {
            const QRegularExpression re(q(marker));
            EXPECT_EQ(StrTable::LoadStr(id).contains(re), english[id].contains(re)) << "row " << id << ": " << marker;
        }
    QCoreApplication::removeTranslator(&translator);

    // Without a translator every row shows its English text, which must be a source the translators have.
    QFile ts(QFileInfo(q(__FILE__)).absolutePath() + q("/../resources/") + GetParam() + q(".ts"));
    ASSERT_TRUE(ts.open(QIODevice::ReadOnly)) << ts.fileName().toStdString();
    QSet<QString> sources;
    for (QXmlStreamReader xml(&ts); !xml.atEnd();)
        if (xml.readNext() == QXmlStreamReader::StartElement && xml.name() == QLatin1String("source"))
            sources.insert(xml.readElementText());
    for (int id = 0; id < StrTable::kRowCount; ++id)
        EXPECT_TRUE(sources.contains(StrTable::LoadStr(id))) << "row " << id << " missing from the .ts file";
}
INSTANTIATE_TEST_SUITE_P(Languages, StrTableLanguage, ::testing::ValuesIn(OrvaneLocale::getSupportedLanguages()),
                         [](const ::testing::TestParamInfo<QString>& info) { return info.param.toStdString(); });

} // namespace
