#include "orvane_locale.h"

#include <QDebug>
#include <QFile>
#include <QLocale>
#include <QMap>

// Writes "file:line expression=[value] " to Qt's message handler, so the choice of language can be
// followed in a console even before the logger is set up.
#define ORVANE_TRACE_VALUE(expr) qDebug("%s:%d %s=[%s] ", __FILE__, __LINE__, #expr, expr)

namespace {

// Indexed by language id; the translation of each is ":/" + code + ".qm". The empty slot ends the table.
const char* const grgszLanguages[] = {"enu", "cht", "chs", "jpn", "deu", "krn", "fra", "ita", "esn", "ptb", "rus",
                                      "dan", "nor", "sve", "nld", "plk", "hun", "ptg", "trk", "csy", ""};
constexpr unsigned kLastLanguageSlot = sizeof(grgszLanguages) / sizeof(grgszLanguages[0]) - 1;

const QString qstrLanguageFallSafe = QStringLiteral("enu");

QMap<QString, QString> languagePartToCode() {
    QMap<QString, QString> map;
    map.insert(QStringLiteral("en"), QStringLiteral("enu"));
    map.insert(QStringLiteral("zh"), QStringLiteral("chs"));
    map.insert(QStringLiteral("ja"), QStringLiteral("jpn"));
    map.insert(QStringLiteral("de"), QStringLiteral("deu"));
    map.insert(QStringLiteral("ko"), QStringLiteral("krn"));
    map.insert(QStringLiteral("fr"), QStringLiteral("fra"));
    map.insert(QStringLiteral("it"), QStringLiteral("ita"));
    map.insert(QStringLiteral("es"), QStringLiteral("esn"));
    map.insert(QStringLiteral("pt"), QStringLiteral("ptb"));
    map.insert(QStringLiteral("ru"), QStringLiteral("rus"));
    map.insert(QStringLiteral("da"), QStringLiteral("dan"));
    map.insert(QStringLiteral("no"), QStringLiteral("nor"));
    map.insert(QStringLiteral("nb"), QStringLiteral("nor"));
    map.insert(QStringLiteral("nn"), QStringLiteral("nor"));
    map.insert(QStringLiteral("sv"), QStringLiteral("sve"));
    map.insert(QStringLiteral("nl"), QStringLiteral("nld"));
    map.insert(QStringLiteral("pl"), QStringLiteral("plk"));
    map.insert(QStringLiteral("hu"), QStringLiteral("hun"));
    map.insert(QStringLiteral("tr"), QStringLiteral("trk"));
    map.insert(QStringLiteral("cs"), QStringLiteral("csy"));
    return map;
}

} // namespace

QString OrvaneLocale::getDefaultLanguage() {
    return getLanguageForLocale(QLocale::system().name());
}

QString OrvaneLocale::getLanguageForLocale(const QString& localeName) {
    const QString qstrLocaleLower = localeName.toLower();
    ORVANE_TRACE_VALUE(qPrintable(qstrLocaleLower));

    const QString languagePart = qstrLocaleLower.section(QLatin1Char('_'), 0, 0);

    // Chinese is split by script and Portuguese by region, so these full names win over the language part.
    QString qstrDef;
    if (qstrLocaleLower == QLatin1String("zh_tw") || qstrLocaleLower == QLatin1String("zh_hk") ||
        qstrLocaleLower == QLatin1String("zh_mo")) {
        qstrDef = QStringLiteral("cht");
    } else if (qstrLocaleLower == QLatin1String("pt") || qstrLocaleLower == QLatin1String("pt_pt")) {
        qstrDef = QStringLiteral("ptg");
    } else {
        const QMap<QString, QString> map = languagePartToCode();
        qstrDef = map.value(languagePart, map.value(QStringLiteral("en")));
    }

    if (!isLanguageInstalled(qstrDef))
        qstrDef = qstrLanguageFallSafe;
    ORVANE_TRACE_VALUE(qPrintable(qstrDef));
    return qstrDef;
}

bool OrvaneLocale::isLanguageInstalled(const QString& code) {
    const QString qstrLangFileName = QStringLiteral(":/") + code + QStringLiteral(".qm");
    if (!QFile::exists(qstrLangFileName))
        return false;
    ORVANE_TRACE_VALUE(qPrintable(qstrLangFileName));
    return true;
}

QStringList OrvaneLocale::getSupportedLanguages() {
    QStringList codes;
    for (unsigned id = 0; id < kLastLanguageSlot; ++id)
        codes.append(QLatin1String(grgszLanguages[id]));
    return codes;
}

QString OrvaneLocale::getStrLanguageFallSafe() {
    return qstrLanguageFallSafe;
}

QString OrvaneLocale::getLanguageAbbrByID(int id) {
    // Compared unsigned, so a negative id is out of range like any id past the end.
    if (static_cast<unsigned>(id) > kLastLanguageSlot)
        return QString();
    return QLatin1String(grgszLanguages[id]);
}
