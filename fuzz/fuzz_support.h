#pragma once

#include <string>

// Helpers shared by the fuzz targets. A failed check names what broke and aborts, so libFuzzer
// keeps the input that led there as a crash file.
namespace fuzzsupport {

[[noreturn]] void Fail(const char* file, int line, const char* what);

// Turns every component's logging up to debug and sends it to a stream that goes nowhere: the
// formatting of fuzzed values still runs, without flooding the fuzzer's own output. The debug
// switch file is written into dir.
void LogEverythingQuietly(const std::string& dir);

// The string type reports ill-formed text on std::cerr, which fuzzed text triggers constantly;
// the sanitizers and libFuzzer write to the file descriptor directly and stay audible.
void SilenceStringWarnings();

} // namespace fuzzsupport

#define FUZZ_CHECK(cond) ((cond) ? (void)0 : fuzzsupport::Fail(__FILE__, __LINE__, #cond))
