// Any bytes as a key=value file (debug switch file, pid file). The reader either accepts the
// whole file or empties the map, and nothing it accepts holds a byte a key or value may not.
#include <climits>
#include <cstdint>
#include <string>
#include <vector>

#include "config.h"
#include "file_tree.h"
#include "fuzz_support.h"
#include "temp_dir.h"

namespace {

bool IsKeyByte(unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == '.' ||
           c == '-';
}

// A value is cut at the first control byte or DEL, quoted or not.
bool IsValueByte(unsigned char c) {
    return c >= 32 && c != 127;
}

// What get_int promises: blanks, an optional sign and decimal digits make the number, whatever
// follows is ignored, and anything without digits or beyond int is 0.
int ExpectedInt(const ustring& value) {
    const char* p = value.c_str();
    while (*p == ' ' || (*p >= 9 && *p <= 13))
        ++p;
    const bool negative = *p == '-';
    if (*p == '-' || *p == '+')
        ++p;
    if (*p < '0' || *p > '9')
        return 0;
    long long number = 0;
    for (; *p >= '0' && *p <= '9'; ++p) {
        number = number * 10 + (*p - '0');
        if (number > static_cast<long long>(INT_MAX) + 1)
            return 0;
    }
    number = negative ? -number : number;
    return number < INT_MIN || number > INT_MAX ? 0 : static_cast<int>(number);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const testsupport::TempDir dir;
    const std::string path = dir / "velmora.conf";
    FUZZ_CHECK(testsupport::writeFile(path, std::string(reinterpret_cast<const char*>(data), size)));

    // An entry from before the read must survive a good file and vanish with a bad one.
    Config config;
    config["velmora.before"] = "kept";
    const int result = config.read(path.c_str());
    FUZZ_CHECK(result == 0 || result == -1);
    if (result == -1) {
        FUZZ_CHECK(config.size() == 0);
        return 0;
    }

    std::vector<ustring> keys;
    for (const auto& entry : config) {
        for (unsigned long i = 0; i < entry.first.size(); ++i)
            FUZZ_CHECK(IsKeyByte(entry.first[i]));
        for (unsigned long i = 0; i < entry.second.size(); ++i)
            FUZZ_CHECK(IsValueByte(entry.second[i]));
        keys.push_back(entry.first);
    }
    FUZZ_CHECK(!keys.empty() && config.size() == keys.size());
    bool before_kept = false;
    for (const ustring& key : keys) {
        before_kept = before_kept || key == "velmora.before";
        FUZZ_CHECK(config.get_int(key) == ExpectedInt(config[key]));
    }
    FUZZ_CHECK(before_kept && config.size() == keys.size());
    return 0;
}
