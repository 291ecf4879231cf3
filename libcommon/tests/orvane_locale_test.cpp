#include "orvane_locale.h"

#include <QDir>
#include <QRegularExpression>
#include <QStringList>

#include <gtest/gtest.h>

#include <map>
#include <string>

int qInitResources_texts();
int qCleanupResources_texts();

void PrintTo(const QString& text, std::ostream* os) {
    *os << '"' << text.toStdString() << '"';
}

namespace {

QString q(const char* text) {
    return QString::fromUtf8(text);
}

// Runs once under each LC_ALL that CMakeLists.txt lists, and once under the suite's default.
TEST(SystemLocale, PicksTheLanguageOfTheLocaleInTheEnvironment) {
    // Qt names a bare "pt" pt_BR, so it is Brazilian Portuguese that a system set to "pt" gets.
    const std::map<std::string, const char*> expected = {
        {"zh_TW.UTF-8", "cht"}, {"zh_HK.UTF-8", "cht"}, {"zh_MO.UTF-8", "cht"}, {"zh_CN.UTF-8", "chs"},
        {"pt_PT.UTF-8", "ptg"}, {"pt.UTF-8", "ptb"},    {"pt_BR.UTF-8", "ptb"}, {"nb_NO.UTF-8", "nor"},
        {"nn_NO.UTF-8", "nor"}, {"sv_FI.UTF-8", "sve"}, {"de_AT.UTF-8", "deu"}, {"fi_FI.UTF-8", "enu"},
        {"C.UTF-8", "enu"}};
    const auto it = expected.find(qgetenv("LC_ALL").toStdString());
    ASSERT_NE(it, expected.end()) << "no expectation for LC_ALL=" << qgetenv("LC_ALL").constData();
    EXPECT_EQ(OrvaneLocale::getDefaultLanguage(), q(it->second));
}

using Mapping = std::pair<const char*, const char*>;

class LocaleMapping : public ::testing::TestWithParam<Mapping> {};

TEST_P(LocaleMapping, GivesTheLanguageOfTheLocale) {
    EXPECT_EQ(OrvaneLocale::getLanguageForLocale(q(GetParam().first)), q(GetParam().second));
}

const Mapping kLocales[] = {{"zh_TW", "cht"}, {"ZH_hk", "cht"}, {"zh_MO", "cht"}, {"zh_CN", "chs"}, {"zh_SG", "chs"},
                            {"zh", "chs"},    {"pt", "ptg"},    {"pt_PT", "ptg"}, {"pt_BR", "ptb"}, {"pt_AO", "ptb"},
                            {"en_US", "enu"}, {"ja_JP", "jpn"}, {"de_CH", "deu"}, {"ko_KR", "krn"}, {"fr_CA", "fra"},
                            {"it_IT", "ita"}, {"es_MX", "esn"}, {"ru_RU", "rus"}, {"da_DK", "dan"}, {"no", "nor"},
                            {"nb_NO", "nor"}, {"nn_NO", "nor"}, {"sv_FI", "sve"}, {"nl_BE", "nld"}, {"pl_PL", "plk"},
                            {"hu_HU", "hun"}, {"tr_TR", "trk"}, {"cs_CZ", "csy"}, {"fi_FI", "enu"}, {"C", "enu"},
                            {"", "enu"}};
INSTANTIATE_TEST_SUITE_P(Locales, LocaleMapping, ::testing::ValuesIn(kLocales), [](const auto& info) {
    return *info.param.first ? std::string(info.param.first) : std::string("Empty");
});

// Without its translation a language cannot be shown, whatever the locale asks for.
TEST(LanguageChoice, FallsBackToEnglishWhenTheTranslationsAreMissing) {
    qCleanupResources_texts();
    const QString language = OrvaneLocale::getLanguageForLocale(q("de_DE"));
    qInitResources_texts();
    EXPECT_EQ(language, q("enu"));
}

// The build embeds whatever .ts files the resources folder holds; the id table must name exactly
// those, or a language is offered without its texts or shipped without a way to choose it.
TEST(LanguageTable, NamesExactlyTheEmbeddedTranslationsFromEnglishToCzechAndNothingPastThem) {
    QStringList embedded = QDir(q(":/")).entryList({q("*.qm")}, QDir::Files);
    embedded.replaceInStrings(QRegularExpression(q("\\.qm$")), QString());
    embedded.sort();
    QStringList supported = OrvaneLocale::getSupportedLanguages();
    supported.sort();
    EXPECT_EQ(supported, embedded);
    EXPECT_EQ(OrvaneLocale::getLanguageAbbrByID(0), q("enu"));
    EXPECT_EQ(OrvaneLocale::getLanguageAbbrByID(19), q("csy"));
    for (int id : {20, 21, -1})
        EXPECT_TRUE(OrvaneLocale::getLanguageAbbrByID(id).isEmpty()) << id;
}

TEST(LanguageTrace, ReportsLocaleFileAndChoiceOnQtDebugOutput) {
    static QStringList lines;
    const QtMessageHandler previous =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& line) { lines.append(line); });
    OrvaneLocale::getLanguageForLocale(q("de_DE"));
    qInstallMessageHandler(previous);
    // Each line starts with the source file and line, which may move.
    lines.replaceInStrings(QRegularExpression(q(R"(^\S*orvane_locale\.cpp:\d+ )")), QString());
    EXPECT_EQ(lines, QStringList({q("qPrintable(qstrLocaleLower)=[de_de] "),
                                  q("qPrintable(qstrLangFileName)=[:/deu.qm] "), q("qPrintable(qstrDef)=[deu] ")}));
}

} // namespace
