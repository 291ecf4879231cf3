#pragma once

#include "ustring.h"

// Layout paths next to the executable and in the home folder, computed once at construction.
// Nothing builds one yet: its package path lies beside the executable, while the upgrade takes
// the package from the bundle's resource folder.
class PackageInfo {
public:
    PackageInfo();

    ustring images_path;
    ustring user_log_path;
    ustring debug_config_path;
    ustring package_path;
    ustring conf_path;
};
