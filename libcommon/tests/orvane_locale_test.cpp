#include "orvane_locale.h"

#include <QDir>
#include <QRegularExpression>
#include <QStringList>

#include <gtest/gtest.h>

#include <climits>
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
    const std::string locale =
        (qEnvironmentVariableIsEmpty("LC_ALL") ? qgetenv("LANG") : qgetenv("LC_ALL")).toStdString();
    const auto it = expected.find(locale);
    ASSERT_NE(it, expected.end()) << "no expectation for locale " << locale;
    EXPECT_EQ(OrvaneLocale::getDefaultLanguage(), q(it->second));

    // With the translations gone there is nothing to show but English, whatever the locale.
    qCleanupResources_texts();
    EXPECT_EQ(OrvaneLocale::getDefaultLanguage(), q("enu"));
    qInitResources_texts();
    EXPECT_EQ(OrvaneLocale::getDefaultLanguage(), q(it->second));
}

TEST(LocaleMapping, MapsLocaleNamesToTheirLanguage) {
    const std::map<std::string, const char*> cases = {
        {"zh_TW", "cht"}, {"ZH_hk", "cht"}, {"zh_MO", "cht"}, {"zh_CN", "chs"}, {"zh_SG", "chs"}, {"zh", "chs"},
        {"pt", "ptg"},    {"pt_PT", "ptg"}, {"pt_BR", "ptb"}, {"pt_AO", "ptb"}, {"en_GB", "enu"}, {"en_US", "enu"},
        {"ja_JP", "jpn"}, {"de_CH", "deu"}, {"ko_KR", "krn"}, {"fr_CA", "fra"}, {"it_IT", "ita"}, {"es_MX", "esn"},
        {"ru_RU", "rus"}, {"da_DK", "dan"}, {"no", "nor"},    {"nb_NO", "nor"}, {"nn_NO", "nor"}, {"sv_FI", "sve"},
        {"nl_BE", "nld"}, {"pl_PL", "plk"}, {"hu_HU", "hun"}, {"tr_TR", "trk"}, {"cs_CZ", "csy"}, {"fi_FI", "enu"},
        {"el_GR", "enu"}, {"C", "enu"},     {"", "enu"}};
    for (const auto& [locale, code] : cases)
        EXPECT_EQ(OrvaneLocale::getLanguageForLocale(q(locale.c_str())), q(code)) << locale;
}

// The build embeds whatever .ts files the resources folder holds; the id table must name exactly
// those, or a language is offered without its texts or shipped without a way to choose it.
TEST(LanguageTable, NamesExactlyTheEmbeddedTranslations) {
    QStringList embedded = QDir(q(":/")).entryList({q("*.qm")}, QDir::Files);
    embedded.replaceInStrings(QRegularExpression(q("\\.qm$")), QString());
    embedded.sort();
    QStringList supported = OrvaneLocale::getSupportedLanguages();
    supported.sort();
    EXPECT_EQ(supported, embedded);
    EXPECT_EQ(supported.size(), 20);
}

TEST(LanguageTable, GivesEachIdItsCodeAndNothingOutsideTheTable) {
    const QStringList codes = OrvaneLocale::getSupportedLanguages();
    EXPECT_EQ(OrvaneLocale::getLanguageAbbrByID(0), OrvaneLocale::getStrLanguageFallSafe()) << "id 0 is English";
    EXPECT_EQ(OrvaneLocale::getLanguageAbbrByID(codes.size() - 1), codes.last());
    for (int id : {20, 21, -1, INT_MIN})
        EXPECT_TRUE(OrvaneLocale::getLanguageAbbrByID(id).isEmpty()) << id;
    EXPECT_FALSE(OrvaneLocale::isLanguageInstalled(q("fin")));
}

QStringList debugLines;

void collectDebugLine(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type == QtDebugMsg)
        debugLines.append(message);
}

TEST(LanguageTrace, ReportsLocaleFileAndChoiceOnQtDebugOutput) {
    debugLines.clear();
    const QtMessageHandler previous = qInstallMessageHandler(collectDebugLine);
    OrvaneLocale::getLanguageForLocale(q("de_DE"));
    qInstallMessageHandler(previous);

    ASSERT_EQ(debugLines.size(), 3) << debugLines.join(q("\n")).toStdString();
    const char* const expected[] = {R"(qPrintable\(qstrLocaleLower\)=\[de_de\] )",
                                    R"(qPrintable\(qstrLangFileName\)=\[:/deu\.qm\] )",
                                    R"(qPrintable\(qstrDef\)=\[deu\] )"};
    for (int i = 0; i < 3; ++i) {
        const QRegularExpression line(q(R"(^\S*orvane_locale\.cpp:\d+ )") + q(expected[i]) + q("$"));
        EXPECT_TRUE(line.match(debugLines[i]).hasMatch()) << debugLines[i].toStdString();
    }
}

} // namespace
