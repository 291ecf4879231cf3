#pragma once

#include <QByteArray>
#include <QString>

#include "ustring.h"

// Paths and texts that come from Qt enter the service as UTF-8, the form ustring keeps.
inline ustring ToUtf8(const QString& text) {
    const QByteArray utf8 = text.toUtf8();
    return ustring(utf8.constData());
}
