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

// The languages as the launcher's own table lists them.
std::vector<std::string> Languages() {
    std::vector<std::string> codes;
    for (const QString& code : OrvaneLocale::getSupportedLanguages())
        codes.push_back(code.toStdString());
    return codes;
}

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

// Answers one source text with escaped line break and tab, as translation files write them.
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

TEST_F(StrTableTest, FindsRowsByKeyIgnoringCase) {
    EXPECT_EQ(StrTable::LookupStrID(q("status_desc_pause")), 0);
    EXPECT_EQ(StrTable::LookupStrID(q("APP_NAME")), 98);
    EXPECT_EQ(StrTable::LookupStrID(q("Desc_Velm_Env_Preparing")), 445);
    EXPECT_EQ(StrTable::LookupStrID(q("nsis_velmora_installed_current")), 455);
    EXPECT_EQ(StrTable::LookupStrID(q("file_max_size_limit")), 470);
    for (const char* absent : {"", "app_nam", "app_name_", "app name"})
        EXPECT_EQ(StrTable::LookupStrID(q(absent)), -1) << absent;
}

TEST_F(StrTableTest, ShowsEnglishTextsWithoutTranslator) {
    EXPECT_EQ(StrTable::LoadStr(98), q("Orvane Velmora"));
    EXPECT_EQ(StrTable::LoadStr(390), q("Velmora is ready."));
    EXPECT_EQ(StrTable::LoadStr(445), q("Velmora is initializing..."));
    EXPECT_TRUE(StrTable::LoadStr(306).endsWith(q("(Recommended for teamwork)\u200B.")));
}

TEST_F(StrTableTest, ShowsTranslationsAndEnglishWhereTheyAreMissing) {
    QTranslator german;
    ASSERT_TRUE(german.load(q(":/deu.qm")));
    ASSERT_TRUE(QCoreApplication::installTranslator(&german));
    EXPECT_EQ(StrTable::LoadStr(445), q("Velmora wird initialisiert..."));
    EXPECT_EQ(StrTable::LoadStr(0), q("Syncing has been paused."));
    QCoreApplication::removeTranslator(&german);
    EXPECT_EQ(StrTable::LoadStr(445), q("Velmora is initializing..."));
}

TEST_F(StrTableTest, TurnsEscapedLineBreaksAndTabsIntoRealOnes) {
    EscapingTranslator translator;
    ASSERT_TRUE(QCoreApplication::installTranslator(&translator));
    EXPECT_EQ(StrTable::LoadStr(445), q("A\nB\tC"));
    QCoreApplication::removeTranslator(&translator);
}

class StrTableLanguage : public StrTableTest, public ::testing::WithParamInterface<std::string> {};

TEST_P(StrTableLanguage, TranslatesTheLauncherTextsUnlessEnglish) {
    const QString file = q(":/") + QString::fromStdString(GetParam()) + q(".qm");
    ASSERT_TRUE(QFile::exists(file));
    if (GetParam() == "enu")
        return;
    QTranslator translator;
    ASSERT_TRUE(translator.load(file));
    EXPECT_FALSE(translator.isEmpty());
    QCoreApplication::installTranslator(&translator);
    for (int id : {28, 209, 235, 273, 348, 390, 445})
        EXPECT_NE(StrTable::LoadStr(id), q(StrTable::stab[id])) << "row " << id;
    QCoreApplication::removeTranslator(&translator);
}

template <typename Test> int countRows(Test test) {
    return static_cast<int>(std::count_if(std::begin(StrTable::stab), std::end(StrTable::stab),
                                          [&](const char* text) { return test(q(text)); }));
}

// Installer, argument and accelerator markers are interpreted by the code that shows a text, so the
// counts below change only together with that code.
TEST_F(StrTableTest, TextsKeepTheMarkersTheirUsersInterpret) {
    const QRegularExpression accelerator(q("&\\S"));
    EXPECT_EQ(countRows([](const QString& t) { return t.contains(q("%1")); }), 20);
    EXPECT_EQ(countRows([](const QString& t) { return t.contains(q("%2")); }), 0);
    EXPECT_EQ(countRows([](const QString& t) { return t.contains(q("[ProductName]")); }), 36);
    EXPECT_EQ(countRows([&](const QString& t) { return t.contains(accelerator); }), 19);
    EXPECT_EQ(countRows([](const QString& t) { return t.contains(q("\\n")) || t.contains(q("\\t")); }), 0);
    EXPECT_EQ(StrTable::LoadStr(32), q("Date & Time"));

    const QRegularExpression dialogTitle(q("^msi_\\w+_dlg_title$"));
    for (int id = 0; id < StrTable::kRowCount; ++id) {
        const bool isTitle = dialogTitle.match(q(StrTable::ktab[id])).hasMatch();
        EXPECT_EQ(q(StrTable::stab[id]) == q("[ProductName] Setup"), isTitle) << StrTable::ktab[id];
    }
    EXPECT_EQ(countRows([](const QString& t) { return t == q("[ProductName] Setup"); }), 14);
}

// The source texts of every translation file must be exactly the table's texts, or translations
// stop matching without notice. The files sit beside this folder in the source tree.
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

INSTANTIATE_TEST_SUITE_P(Languages, StrTableLanguage, ::testing::ValuesIn(Languages()),
                         [](const ::testing::TestParamInfo<std::string>& info) { return info.param; });

} // namespace
