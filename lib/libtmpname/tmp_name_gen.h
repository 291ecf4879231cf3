#pragma once

#include <pthread.h>

#include "ustring.h"

// Short pseudo-random names for temporary files and folders: eight characters drawn from an
// RC4 stream keyed by the time of day of the first use. One process-wide generator, reached
// through getInstance(); any thread may ask for names, a mutex serialises the generator steps.
class TmpNameGen {
public:
    static TmpNameGen* getInstance();

    TmpNameGen();
    // A generator keyed with the given 256-byte key buffer instead of the clock, so that a
    // sequence of names can be reproduced.
    explicit TmpNameGen(const unsigned char* key_buffer);
    ~TmpNameGen();

    TmpNameGen(const TmpNameGen&) = delete;
    TmpNameGen& operator=(const TmpNameGen&) = delete;

    int get_key(unsigned char* dst, unsigned long n);
    void rc4_init(unsigned char* s, unsigned char* k);
    void rc4_randomize(unsigned char* s, unsigned char* o, int n);

    ustring getTmpName();
    ustring getTmpPath(const ustring& dir);

private:
    unsigned char state[256];
    unsigned char key[256];
    unsigned char out[6];

    static pthread_mutex_t m_lock;
};
