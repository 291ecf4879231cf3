// bench-fileop copy <src> <dst> | remove <path>
//
// Runs one of the launcher's file operations as a process of its own, so that scripts/bench
// can time it exactly like the system tool it is compared with (cp, rm -rf).

#include <cstdio>
#include <cstring>

#include "file-op.h"
#include "ustring.h"

int main(int argc, char* argv[]) {
    if (argc == 4 && std::strcmp(argv[1], "copy") == 0) {
        const int r = FSCopy(ustring(argv[2]), ustring(argv[3]), false);
        if (r != 0)
            fprintf(stderr, "bench-fileop: FSCopy returned %d\n", r);
        return r == 0 ? 0 : 1;
    }
    if (argc == 3 && std::strcmp(argv[1], "remove") == 0) {
        const int r = FSRemove(ustring(argv[2]), false);
        if (r != 0)
            fprintf(stderr, "bench-fileop: FSRemove returned %d\n", r);
        return r == 0 ? 0 : 1;
    }
    fprintf(stderr, "usage: bench-fileop copy <src> <dst> | remove <path>\n");
    return 2;
}
