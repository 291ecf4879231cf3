#include "tmp_name_gen.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/time.h>

pthread_mutex_t TmpNameGen::m_lock = PTHREAD_MUTEX_INITIALIZER;

TmpNameGen* TmpNameGen::getInstance() {
    // A function-local static is constructed exactly once even when several threads make the
    // first call together; the others wait until the key schedule is done.
    static TmpNameGen tmp_name;
    return &tmp_name;
}

TmpNameGen::TmpNameGen() : state(), key(), out() {
    get_key(key, sizeof(key));
    rc4_init(state, key);
}

TmpNameGen::TmpNameGen(const unsigned char* key_buffer) : state(), key(), out() {
    memcpy(key, key_buffer, sizeof(key));
    rc4_init(state, key);
}

TmpNameGen::~TmpNameGen() {}

int TmpNameGen::get_key(unsigned char* dst, unsigned long n) {
    struct timeval tv;
    gettimeofday(&tv, nullptr);
    return snprintf(reinterpret_cast<char*>(dst), n, "%lu-%lu", static_cast<unsigned long>(tv.tv_sec),
                    static_cast<unsigned long>(tv.tv_usec));
}

void TmpNameGen::rc4_init(unsigned char* s, unsigned char* k) {
    for (int i = 0; i < 256; ++i)
        s[i] = static_cast<unsigned char>(i);

    if (k[0] == 0) {
        srand(static_cast<unsigned int>(time(nullptr)));
        for (int i = 0; i < 256; ++i)
            k[i] = static_cast<unsigned char>(rand());
    }

    // The schedule runs over the whole buffer, the zero bytes after the key text included;
    // with a 256-byte key this is the same as the textbook schedule.
    unsigned int j = 0;
    for (int i = 0; i < 256; ++i) {
        j = (j + k[i] + s[i]) & 0xFF;
        unsigned char t = s[i];
        s[i] = s[j];
        s[j] = t;
    }
}

void TmpNameGen::rc4_randomize(unsigned char* s, unsigned char* o, int n) {
    // The indices start again at 0 on every call; only the permutation carries over, so the
    // name sequence differs from one long RC4 stream cut into pieces.
    unsigned int i = 0;
    unsigned int j = 0;
    for (int c = 0; c < n; ++c) {
        i = (i + 1) & 0xFF;
        j = (j + s[i]) & 0xFF;
        unsigned char t = s[i];
        s[i] = s[j];
        s[j] = t;
        o[c] = s[(s[i] + s[j]) & 0xFF];
    }
}

ustring TmpNameGen::getTmpName() {
    static const char map[] = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ-_";

    char name[9];
    pthread_mutex_lock(&m_lock);
    rc4_randomize(state, out, 6);
    const unsigned char* b = out;
    name[0] = map[b[0] >> 2];
    name[1] = map[((b[0] & 3) << 4) | (b[1] >> 4)];
    name[2] = map[((b[1] & 15) << 2) | (b[2] >> 6)];
    name[3] = map[b[2] & 63];
    name[4] = map[b[3] >> 2];
    name[5] = map[((b[3] & 3) << 4) | (b[4] >> 4)];
    name[6] = map[((b[4] & 15) << 2) | (b[5] >> 6)];
    name[7] = map[b[5] & 63];
    pthread_mutex_unlock(&m_lock);
    name[8] = '\0';
    return ustring(name);
}

ustring TmpNameGen::getTmpPath(const ustring& dir) {
    return dir + "/" + getTmpName();
}
