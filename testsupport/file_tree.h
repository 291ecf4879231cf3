#pragma once

#include <map>
#include <string>

namespace testsupport {

// Small file helpers shared by the suites.
std::string readFile(const std::string& path);
bool writeFile(const std::string& path, const std::string& content);
bool exists(const std::string& path);

// Every regular file and symbolic link below root, by relative path, with its content (a
// link's content is "-> target"); folders appear with the content "/", FIFOs, sockets and
// devices with "(special)". Comparing two snapshots tells whether a tree came back byte for byte.
std::map<std::string, std::string> snapshot(const std::string& root);
// The same, with the permission bits of every path in front in octal ("600 secret"), and the
// root's own under "."; links are described, never followed. Tells a chmod that went astray.
std::map<std::string, std::string> snapshotWithModes(const std::string& root);

} // namespace testsupport
