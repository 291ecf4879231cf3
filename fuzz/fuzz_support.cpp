#include "fuzz_support.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>

#include "log.h"

namespace fuzzsupport {

void Fail(const char* file, int line, const char* what) {
    std::fprintf(stderr, "%s:%d: check failed: %s\n", file, line, what);
    std::fflush(stderr);
    std::abort();
}

void LogEverythingQuietly(const std::string& dir) {
    const std::string switches = dir + "/launcher.debug";
    std::ofstream(switches) << "launcher_debug=7\nservice_debug=7\nextractor_debug=7\nfile_op_debug=7\n";
    if (!std::freopen("/dev/null", "w", stdout))
        Fail(__FILE__, __LINE__, "standard output cannot be sent to /dev/null");
    if (Logger::Initialize(Logger::TYPE_STDOUT, "", switches.c_str(), 0) != 0)
        Fail(__FILE__, __LINE__, "the logger does not start");
}

void SilenceStringWarnings() {
    std::cerr.rdbuf(nullptr);
}

} // namespace fuzzsupport
