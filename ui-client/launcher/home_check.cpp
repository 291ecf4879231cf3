#include "home_check.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <pwd.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

bool HomeBelongsToUs() {
    // The home folder the way Qt will find it: $HOME, else the account's entry.
    std::string home = getenv("HOME") ? getenv("HOME") : "";
    if (home.empty())
        if (const passwd* account = getpwuid(geteuid()))
            home = account->pw_dir ? account->pw_dir : "";
    struct stat st;
    if (home.empty() || stat(home.c_str(), &st) != 0) {
        fprintf(stderr, "launcher: not starting: home folder '%s' cannot be used: %s\n", home.c_str(),
                home.empty() ? "none is set" : strerror(errno));
        return false;
    }
    if (st.st_uid != geteuid()) {
        fprintf(stderr, "launcher: not starting: home folder '%s' belongs to uid %u, not to this user (uid %u)\n",
                home.c_str(), static_cast<unsigned>(st.st_uid), static_cast<unsigned>(geteuid()));
        return false;
    }
    return true;
}
