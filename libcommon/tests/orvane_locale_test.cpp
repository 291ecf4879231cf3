#include "orvane_locale.h"

#include <QDir>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <map>
#include <string>

int qInitResources_texts();
int qCleanupResources_texts();

namespace {

// Locales, in any letter case, and their languages; among them the system locales CMakeLists.txt runs under.
const std::map<std::string, std::string> kLocales = {
    {"zh_TW", "cht"}, {"zh_HK", "cht"}, {"zh_MO", "cht"}, {"zh_CN", "chs"}, {"pt", "ptg"},    {"pt_PT", "ptg"},
    {"pt_BR", "ptb"}, {"en_US", "enu"}, {"ja_JP", "jpn"}, {"de_AT", "deu"}, {"KO_kr", "krn"}, {"fr_CA", "fra"},
    {"it_IT", "ita"}, {"es_MX", "esn"}, {"ru_RU", "rus"}, {"da_DK", "dan"}, {"no", "nor"},    {"nb_NO", "nor"},
    {"nn_NO", "nor"}, {"sv_FI", "sve"}, {"nl_BE", "nld"}, {"pl_PL", "plk"}, {"hu_HU", "hun"}, {"tr_TR", "trk"},
    {"cs_CZ", "csy"}, {"fi_FI", "enu"}, {"C", "enu"}};

class LocaleMapping : public ::testing::TestWithParam<std::pair<const std::string, std::string>> {};

TEST_P(LocaleMapping, GivesTheLanguageOfTheLocale) {
    EXPECT_EQ(OrvaneLocale::getLanguageForLocale(QString::fromStdString(GetParam().first)).toStdString(),
              GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(Locales, LocaleMapping, ::testing::ValuesIn(kLocales),
                         [](const auto& info) { return info.param.first; });

// Runs once under each LC_ALL that CMakeLists.txt lists, and once under the suite's default.
TEST(SystemLocale, PicksTheLanguageOfTheLocaleInTheEnvironment) {
    std::string name = qgetenv("LC_ALL").toStdString();
    name = name.substr(0, name.find('.'));
    // Qt names a bare "pt" pt_BR, so it is Brazilian Portuguese that a system set to "pt" gets.
    const auto it = kLocales.find(name == "pt" ? "pt_BR" : name);
    ASSERT_NE(it, kLocales.end()) << "no expectation for LC_ALL=" << name;
    EXPECT_EQ(OrvaneLocale::getDefaultLanguage().toStdString(), it->second);
}

// Without its translation a language cannot be shown, whatever the locale asks for. The trace on
// Qt's debug output ("file:line expression=[value] ") tells a console reader why: first the locale
// as it was matched (lower case), last the language finally chosen, not the one first wanted.
TEST(LanguageChoice, FallsBackToEnglishWhenTheTranslationsAreMissingAndTracesTheChoice) {
    static QStringList lines;
    const QtMessageHandler previous =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& line) { lines.append(line); });
    qCleanupResources_texts();
    const QString language = OrvaneLocale::getLanguageForLocale(QStringLiteral("de_DE"));
    qInitResources_texts();
    qInstallMessageHandler(previous);
    EXPECT_EQ(language.toStdString(), "enu");
    // Only the values are pinned, not how the code spells the expressions that hold them.
    lines.replaceInStrings(QRegularExpression(QStringLiteral(R"(^\S*orvane_locale\.cpp:\d+ \S+=\[(.*)\] $)")),
                           QStringLiteral("\\1"));
    EXPECT_EQ(lines.join(QLatin1Char('|')).toStdString(), "de_de|enu");
}

// The build embeds whatever .ts files the resources folder holds; the id table must name exactly
// those, or a language is offered without its texts or shipped without a way to choose it.
TEST(LanguageTable, NamesExactlyTheEmbeddedTranslationsFromEnglishToCzechAndNothingPastThem) {
    QStringList embedded = QDir(QStringLiteral(":/")).entryList({QStringLiteral("*.qm")}, QDir::Files);
    embedded.replaceInStrings(QRegularExpression(QStringLiteral("\\.qm$")), QString());
    embedded.sort();
    QStringList supported = OrvaneLocale::getSupportedLanguages();
    supported.sort();
    EXPECT_EQ(supported.join(QLatin1Char(' ')).toStdString(), embedded.join(QLatin1Char(' ')).toStdString());
    // Past Czech comes the empty end marker, then nothing; a negative id is out of range too.
    for (const auto& [id, code] : std::map<int, std::string>{{0, "enu"}, {19, "csy"}, {20, ""}, {21, ""}, {-1, ""}})
        EXPECT_EQ(OrvaneLocale::getLanguageAbbrByID(id).toStdString(), code) << id;
}

} // namespace
