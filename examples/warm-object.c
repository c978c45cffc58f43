/* Counts its starts since the last cold restart, in a warm object of its own: warm-object
 *
 * Any number of processes may run this at once, and each may be killed anywhere. Whether it is the
 * creator does not matter: a creator may have been killed before it had filled its object.
 */
#include "bsp/Bsp.h"

#include <pthread.h>
#include <stdatomic.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

/* A new object is all zeroes, so the marker is something else: the number of this format. */
enum { Filled = 1 };

struct Starts {
    _Atomic uint32_t marker;
    uint32_t count;
    char first[32]; /* who was the first */
};

static void fill(struct Starts* starts, const char* program) {
    starts->count = 0;
    memset(starts->first, 0, sizeof starts->first);
    strncpy(starts->first, program, sizeof starts->first - 1);
    atomic_store_explicit(&starts->marker, Filled, memory_order_release); /* last */
}

int main(int argc, char** argv) {
    void* data = NULL;
    void* sync = NULL;
    bool created = false;
    if (WarmDatabase_getObjectData("STARTS", &data, sizeof(struct Starts), &sync, &created) != 0) {
        fprintf(stderr, "no warm object: see the trace Bsp.WarmDatabase\n");
        return 1;
    }
    struct Starts* const starts = data;
    pthread_mutex_t* const mutex = sync;

    /* Nothing here takes long or may fail: who dies here leaves the mutex taken until a restart. */
    pthread_mutex_lock(mutex);
    if (starts->marker != Filled) {
        fill(starts, argc > 0 ? argv[0] : "");
    }
    const uint32_t count = ++starts->count;
    pthread_mutex_unlock(mutex);

    printf("start %u, the first was %s\n", (unsigned)count, starts->first);
    return 0;
}
