#include "file_tree.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace testsupport {

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

bool writeFile(const std::string& path, const std::string& content) {
    std::error_code ec;
    fs::create_directories(fs::path(path).parent_path(), ec);
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
    return static_cast<bool>(out);
}

bool exists(const std::string& path) {
    std::error_code ec;
    return fs::symlink_status(path, ec).type() != fs::file_type::not_found && !ec;
}

std::map<std::string, std::string> snapshot(const std::string& root) {
    std::map<std::string, std::string> tree;
    std::error_code ec;
    for (auto it = fs::recursive_directory_iterator(root, ec); !ec && it != fs::recursive_directory_iterator();
         it.increment(ec)) {
        const std::string rel = it->path().lexically_relative(root).string();
        if (it->is_symlink())
            tree[rel] = "-> " + fs::read_symlink(it->path()).string();
        else if (it->is_directory())
            tree[rel] = "/";
        else if (!it->is_regular_file()) // reading a FIFO would wait for a writer
            tree[rel] = "(special)";
        else
            tree[rel] = readFile(it->path().string());
    }
    return tree;
}

std::map<std::string, std::string> snapshotWithModes(const std::string& root) {
    std::map<std::string, std::string> tree = snapshot(root);
    tree["."] = "/";
    for (auto& [rel, about] : tree) {
        struct stat st;
        const std::string path = rel == "." ? root : root + "/" + rel;
        char mode[16] = "(gone)";
        if (lstat(path.c_str(), &st) == 0)
            std::snprintf(mode, sizeof(mode), "%o", static_cast<unsigned>(st.st_mode & 07777));
        about = std::string(mode) + " " + about;
    }
    return tree;
}

} // namespace testsupport
