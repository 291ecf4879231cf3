#include "tmp_name_gen.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

// Expected names from a textbook RC4 written independently (key byte k[i % len(k)], which equals
// this generator's schedule for a 256-byte key buffer), run once with python3:
//   import base64; k = b"1700000000-123456".ljust(256, b"\0"); S = list(range(256)); j = 0
//   for i in range(256): j = (j + S[i] + k[i % len(k)]) % 256; S[i], S[j] = S[j], S[i]
//   for name in range(3):
//       i = j = 0; out = bytearray()
//       for _ in range(6):
//           i = (i + 1) % 256; j = (j + S[i]) % 256; S[i], S[j] = S[j], S[i]; out.append(S[(S[i] + S[j]) % 256])
//       print(base64.b64encode(out).translate(bytes.maketrans(b"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
//           b"0123456789+/", b"0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ-_")).decode())
struct KnownKey {
    unsigned char bytes[256] = {};
    KnownKey() { memcpy(bytes, "1700000000-123456", 17); }
};

bool wellFormed(const std::string& name) {
    static const std::string alphabet = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ-_";
    return name.size() == 8 && name.find_first_not_of(alphabet) == std::string::npos;
}

TEST(TmpNameGen, NamesFollowRc4OverTheWholeKeyBufferWithIndicesRestartingPerName) {
    KnownKey key;
    TmpNameGen gen(key.bytes);
    EXPECT_STREQ(gen.getTmpName().c_str(), "4e-5Metp");
    EXPECT_STREQ(gen.getTmpName().c_str(), "J8x3FAX9");
    EXPECT_STREQ(gen.getTmpName().c_str(), "2SrkJCfK");
}

struct Folder {
    const char* name;
    const char* dir;
    std::string prefix;
};

void PrintTo(const Folder& folder, std::ostream* os) {
    *os << folder.name;
}

class TmpPath : public ::testing::TestWithParam<Folder> {};

TEST_P(TmpPath, PutsOneSlashBetweenTheFolderAsGivenAndTheName) {
    const std::string path = TmpNameGen::getInstance()->getTmpPath(GetParam().dir).c_str();
    EXPECT_EQ(path.substr(0, GetParam().prefix.size()), GetParam().prefix);
    EXPECT_TRUE(wellFormed(path.substr(GetParam().prefix.size()))) << path;
}

INSTANTIATE_TEST_SUITE_P(Folders, TmpPath,
                         ::testing::Values(Folder{"Plain", "/tmp", "/tmp/"}, Folder{"Empty", "", "/"},
                                           Folder{"TrailingSlashIsKept", "/tmp/", "/tmp//"}),
                         [](const ::testing::TestParamInfo<Folder>& info) { return std::string(info.param.name); });

// A torn step would show up as a name the single-threaded sequence from the same key never
// produces, or as a duplicate.
TEST(TmpNameGen, ConcurrentCallersNeverShareAGeneratorStep) {
    KnownKey key;
    TmpNameGen shared(key.bytes), single(key.bytes);
    std::vector<std::string> all(4 * 2000), expected;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (int n = 0; n < 2000; ++n)
                all[t * 2000 + n] = shared.getTmpName().c_str();
        });
    for (auto& th : threads)
        th.join();
    for (size_t n = 0; n < all.size(); ++n)
        expected.push_back(single.getTmpName().c_str());
    std::sort(all.begin(), all.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_TRUE(all == expected) << "the threads' names differ from the single-threaded sequence";
}

} // namespace
