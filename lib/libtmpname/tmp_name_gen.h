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

    // The generator steps are public on purpose: they work only on the buffers passed in, and a
    // name sequence can be checked against them. None of them takes the lock.
    // Writes the clock's "seconds-microseconds" into dst (at most n bytes, NUL included); returns
    // what snprintf returns.
    int get_key(unsigned char* dst, unsigned long n);
    // RC4's key schedule over all 256 bytes of k (text, NUL and the zeros after it), not over the
    // text's length as usual RC4 does: kept so, since changing it changes every name sequence.
    // An empty key (k[0] == 0) is first filled from rand(), and k is changed.
    void rc4_init(unsigned char* s, unsigned char* k);
    // n output bytes into o; i and j restart at 0 on every call, only s carries over, so two calls
    // of 3 bytes differ from one call of 6. n <= 0 produces nothing.
    void rc4_randomize(unsigned char* s, unsigned char* o, int n);

    // Eight characters of [0-9a-zA-Z-_], never "/" or "."; not checked against existing files.
    // Safe from any thread.
    ustring getTmpName();
    // dir + "/" + a name, dir used as given: a trailing "/" gives a doubled one.
    ustring getTmpPath(const ustring& dir);

private:
    unsigned char state[256];
    unsigned char key[256];
    unsigned char out[6];

    static pthread_mutex_t m_lock;
};
