#include "tmp_name_gen.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

// Expected names from a textbook RC4 (key byte k[i % len(k)], the same as this generator's
// schedule for a 256-byte key buffer) written independently and run once as `python3 kat.py`:
//   import base64
//   k = b"1700000000-123456".ljust(256, b"\0"); S = list(range(256)); j = 0
//   for i in range(256): j = (j + S[i] + k[i % len(k)]) % 256; S[i], S[j] = S[j], S[i]
//   for name in range(3):
//       i = j = 0; out = bytearray()
//       for _ in range(6):
//           i = (i + 1) % 256; j = (j + S[i]) % 256; S[i], S[j] = S[j], S[i]; out.append(S[(S[i] + S[j]) % 256])
//       print(out.hex(), base64.b64encode(out).translate(bytes.maketrans(
//           b"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/",
//           b"0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ-_")).decode())
// which printed: 10ef85c0e759 4e-5Metp / b48843a64ec9 J8x3FAX9 / 0b66d4b663ee 2SrkJCfK
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

TEST(TmpNameGen, PathsJoinTheFolderAsGivenWithOneSlash) {
    std::string path = TmpNameGen::getInstance()->getTmpPath("/tmp").c_str();
    EXPECT_EQ(path.substr(0, 5), "/tmp/");
    EXPECT_TRUE(wellFormed(path.substr(5))) << path;
    std::string bare = TmpNameGen::getInstance()->getTmpPath("").c_str();
    EXPECT_EQ(bare[0], '/');
    EXPECT_TRUE(wellFormed(bare.substr(1))) << bare;
}

// Every name must come from its own generator step: a torn step would show up as a name that
// the single-threaded sequence from the same key never produces, or as a duplicate.
TEST(TmpNameGen, ConcurrentCallersNeverShareAGeneratorStep) {
    const int kThreads = 4;
    const int kPerThread = 2000;
    KnownKey key;
    TmpNameGen shared(key.bytes);
    std::vector<std::string> all(kThreads * kPerThread);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int n = 0; n < kPerThread; ++n)
                all[t * kPerThread + n] = shared.getTmpName().c_str();
        });
    }
    for (auto& th : threads)
        th.join();

    TmpNameGen single(key.bytes);
    std::vector<std::string> expected;
    for (size_t n = 0; n < all.size(); ++n)
        expected.push_back(single.getTmpName().c_str());
    for (const auto& name : all)
        ASSERT_TRUE(wellFormed(name)) << name;
    std::sort(all.begin(), all.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_TRUE(all == expected) << "the threads' names differ from the single-threaded sequence";
}

} // namespace
