#include "package_info.h"

#include <QCoreApplication>
#include <QDir>
#include <QString>

#include "qt_text.h"

PackageInfo::PackageInfo()
    : images_path(ToUtf8(QCoreApplication::applicationDirPath() + QStringLiteral("/images"))),
      user_log_path(ToUtf8(QDir::homePath() + QStringLiteral("/.Velmora_log"))),
      debug_config_path(ToUtf8(QCoreApplication::applicationDirPath() + QStringLiteral("/log/launcher.debug"))),
      package_path(ToUtf8(QCoreApplication::applicationDirPath() + QStringLiteral("/package/velmora.hpk"))),
      conf_path(ToUtf8(QCoreApplication::applicationDirPath() + QStringLiteral("/conf"))) {}
