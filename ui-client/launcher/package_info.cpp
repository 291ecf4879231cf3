#include "package_info.h"

#include <QCoreApplication>
#include <QDir>
#include <QString>

namespace {

ustring ToUtf8(const QString& text) {
    const QByteArray utf8 = text.toUtf8();
    return ustring(utf8.constData());
}

} // namespace

PackageInfo::PackageInfo()
    : images_path(ToUtf8(QCoreApplication::applicationDirPath() + QStringLiteral("/images"))),
      user_log_path(ToUtf8(QDir::homePath() + QStringLiteral("/.Velmora_log"))),
      debug_config_path(ToUtf8(QCoreApplication::applicationDirPath() + QStringLiteral("/log/launcher.debug"))),
      package_path(ToUtf8(QCoreApplication::applicationDirPath() + QStringLiteral("/package/velmora.hpk"))),
      conf_path(ToUtf8(QCoreApplication::applicationDirPath() + QStringLiteral("/conf"))) {}
