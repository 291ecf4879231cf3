#include "log_capture.h"

#include <utility>

#include "file_tree.h"
#include "log.h"

namespace testsupport {

LogCapture::LogCapture(std::string path, const std::string& switches) : path_(std::move(path)), started_(false) {
    const std::string debug = switches.empty() ? std::string() : path_ + ".debug";
    if (!debug.empty())
        writeFile(debug, switches);
    started_ = Logger::Initialize(Logger::TYPE_FILE, path_.c_str(), debug.c_str(), 50) == 0;
}

LogCapture::~LogCapture() {
    Logger::Destroy();
}

std::string LogCapture::Text() const {
    return readFile(path_);
}

} // namespace testsupport
