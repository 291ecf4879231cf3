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
//   for name in range(2):
//       i = j = 0; out = bytearray()
//       for _ in range(6):
//           i = (i + 1) % 256; j = (j + S[i]) % 256; S[i], S[j] = S[j], S[i]; out.append(S[(S[i] + S[j]) % 256])
//       print(base64.b64encode(out).translate(bytes.maketrans(b"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
//           b"0123456789+/", b"0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ-_")).decode())
// Threads sharing a generator must give the same names in some order: a torn step shows up as a
// name the single-threaded sequence never makes, or a duplicate; the window is small, hence so many.
TEST(TmpNameGen, NamesFollowRc4WithIndicesRestartingPerNameAndThreadsNeverShareAStep) {
    unsigned char key[256] = {};
    memcpy(key, "1700000000-123456", 17);
    TmpNameGen single(key), shared(key);
    EXPECT_STREQ(single.getTmpPath("").c_str(), "/4e-5Metp"); // the folder as given, one slash added
    EXPECT_STREQ(single.getTmpPath("/tmp/").c_str(), "/tmp//J8x3FAX9");
    const int per_thread = 100000;
    std::vector<std::string> all(4 * per_thread), expected = {"4e-5Metp", "J8x3FAX9"};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (int n = 0; n < per_thread; ++n)
                all[t * per_thread + n] = shared.getTmpName().c_str();
        });
    for (auto& th : threads)
        th.join();
    while (expected.size() < all.size())
        expected.push_back(single.getTmpName().c_str());
    std::sort(all.begin(), all.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_TRUE(all == expected) << "the threads' names differ from the single-threaded sequence";
}

} // namespace
