#include "str_table.h"

#include "orvane_locale.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>
#include <QTranslator>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

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
    char arg0[16] = "str_table_test";
    char* argv[2] = {arg0, nullptr};
    QCoreApplication app{argc, argv};
};

// Answers with an escaped line break and tab, as translation files write them.
class EscapingTranslator : public QTranslator {
public:
    bool isEmpty() const override { return false; }
    QString translate(const char*, const char* sourceText, const char*, int) const override {
        return qstrcmp(sourceText, StrTable::stab[445]) == 0 ? q("A\\nB\\tC") : QString();
    }
};

TEST_F(StrTableTest, ReturnsNothingForRowsNotYetFilled) {
    const std::vector<const char*> saved(std::begin(StrTable::stab), std::end(StrTable::stab));
    std::fill(std::begin(StrTable::ktab), std::end(StrTable::ktab), nullptr);
    std::fill(std::begin(StrTable::stab), std::end(StrTable::stab), nullptr);
    EXPECT_TRUE(StrTable::LoadStr(98).isEmpty());
    EXPECT_EQ(StrTable::LookupStrID(q("app_name")), -1);

    StrTable::InitStrTable();
    EXPECT_TRUE(std::equal(std::begin(saved), std::end(saved), std::begin(StrTable::stab)));
    EXPECT_EQ(StrTable::LookupStrID(q("app_name")), 98);
}

struct KeyRow {
    const char* name;
    const char* key;
    int id;
};

void PrintTo(const KeyRow& row, std::ostream* os) {
    *os << row.name;
}

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
                        {"Longer", "app_name_", -1},
                        {"BlankForUnderscore", "app name", -1}};
INSTANTIATE_TEST_SUITE_P(Keys, StrTableKey, ::testing::ValuesIn(kKeys),
                         [](const ::testing::TestParamInfo<KeyRow>& info) { return std::string(info.param.name); });

TEST_F(StrTableTest, ShowsTranslationsAndEnglishUtf8TextsWhereTheyAreMissing) {
    QTranslator german;
    ASSERT_TRUE(german.load(q(":/deu.qm")));
    ASSERT_TRUE(QCoreApplication::installTranslator(&german));
    EXPECT_EQ(StrTable::LoadStr(445), q("Velmora wird initialisiert..."));
    EXPECT_EQ(StrTable::LoadStr(0), q("Syncing has been paused."));
    QCoreApplication::removeTranslator(&german);
    EXPECT_EQ(StrTable::LoadStr(445), q("Velmora is initializing..."));
    EXPECT_TRUE(StrTable::LoadStr(306).endsWith(q("(Recommended for teamwork)\u200B.")));
}

TEST_F(StrTableTest, TurnsEscapedLineBreaksAndTabsIntoRealOnes) {
    EscapingTranslator translator;
    ASSERT_TRUE(QCoreApplication::installTranslator(&translator));
    EXPECT_EQ(StrTable::LoadStr(445), q("A\nB\tC"));
    QCoreApplication::removeTranslator(&translator);
}

class StrTableLanguage : public StrTableTest, public ::testing::WithParamInterface<std::string> {};

// Code fills in "%1", the installer "[ProductName]", menus make "&" and the next letter an accelerator.
TEST_P(StrTableLanguage, TranslatesTheLauncherTextsAndKeepsTheMarkersOfTheirSources) {
    QTranslator translator;
    ASSERT_TRUE(translator.load(q(":/") + QString::fromStdString(GetParam()) + q(".qm")));
    QCoreApplication::installTranslator(&translator);
    for (int id : {28, 209, 235, 273, 348, 390, 445})
        EXPECT_TRUE(GetParam() == "enu" || StrTable::LoadStr(id) != q(StrTable::stab[id])) << "row " << id;
    const QRegularExpression accelerator(q("&\\S"));
    for (int id = 0; id < StrTable::kRowCount; ++id) {
        SCOPED_TRACE(StrTable::ktab[id]);
        const QString source = q(StrTable::stab[id]);
        const QString text = StrTable::LoadStr(id);
        EXPECT_EQ(text.contains(q("%1")), source.contains(q("%1")));
        EXPECT_EQ(text.contains(q("[ProductName]")), source.contains(q("[ProductName]")));
        EXPECT_EQ(text.contains(accelerator), source.contains(accelerator));
    }
    QCoreApplication::removeTranslator(&translator);
}

// Otherwise translations stop matching without notice.
TEST_P(StrTableLanguage, TranslationSourceCarriesExactlyTheTableTexts) {
    QSet<QString> tableTexts;
    for (const char* text : StrTable::stab)
        tableTexts.insert(q(text));
    const QDir resources(QFileInfo(q(__FILE__)).dir().filePath(q("../resources")));
    QFile file(resources.filePath(QString::fromStdString(GetParam()) + q(".ts")));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << file.fileName().toStdString();
    QXmlStreamReader xml(&file);
    QSet<QString> sources;
    QString context;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == QLatin1String("name")) {
            context = xml.readElementText();
        } else if (xml.name() == QLatin1String("source")) {
            EXPECT_EQ(context, q("global"));
            const QString source = xml.readElementText();
            EXPECT_TRUE(tableTexts.contains(source)) << source.toStdString();
            sources.insert(source);
        }
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    EXPECT_EQ(sources.size(), tableTexts.size());
}

std::vector<std::string> Languages() {
    std::vector<std::string> codes;
    for (const QString& code : OrvaneLocale::getSupportedLanguages())
        codes.push_back(code.toStdString());
    return codes;
}
INSTANTIATE_TEST_SUITE_P(Languages, StrTableLanguage, ::testing::ValuesIn(Languages()),
                         [](const ::testing::TestParamInfo<std::string>& info) { return info.param; });

} // namespace
