#pragma once

#include <QString>
#include <QStringList>

// Chooses the interface language from the system locale: one of twenty three-letter codes
// whose translation is compiled into the executable, "enu" otherwise. Static only.
class OrvaneLocale {
public:
    static QString getDefaultLanguage();
    // The language getDefaultLanguage picks when the system locale is named localeName (such as "zh_TW").
    static QString getLanguageForLocale(const QString& localeName);
    static bool isLanguageInstalled(const QString& code);
    static QStringList getSupportedLanguages();
    static QString getStrLanguageFallSafe();
    static QString getLanguageAbbrByID(int id);
};
