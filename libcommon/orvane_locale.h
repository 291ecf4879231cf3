#pragma once

#include <QString>
#include <QStringList>

// Chooses the interface language from the system locale: one of twenty three-letter codes
// whose translation is compiled into the executable, "enu" otherwise. Static only.
class OrvaneLocale {
public:
    static QString getDefaultLanguage();
    static bool isLanguageInstalled(const QString& code);
    static QStringList getSupportedLanguages();
    static QString getStrLanguageFallSafe();
    static QString getLanguageAbbrByID(int id);
};
