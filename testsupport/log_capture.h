#pragma once

#include <string>

namespace testsupport {

// Points the process's Logger at the file path for the life of the object, with the debug
// switches given (such as "service_debug=7\n", written next to it as path + ".debug"; none: errors
// and warnings only), and calls Logger::Destroy at the end. One at a time: the logger is global.
class LogCapture {
public:
    explicit LogCapture(std::string path, const std::string& switches = "");
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Whether the logger took the file.
    bool Started() const { return started_; }
    // Everything written so far.
    std::string Text() const;
    bool Logged(const std::string& text) const { return Text().find(text) != std::string::npos; }

private:
    std::string path_;
    bool started_;
};

} // namespace testsupport
