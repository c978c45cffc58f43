/* Counts its starts since the last cold restart, in a warm object of its own: warm-object
 *
 * Any number of processes may run this at once, and each may be killed at any point. The program
 * does not use `created`: the object's creator may have been killed before it filled the object.
 */
#include "bsp/Bsp.h"

#include <pthread.h>
#include <stdatomic.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

/* Version of the format; not 0, because a new object is all zeroes. */
enum { Filled = 1 };

struct Starts {
    _Atomic uint32_t marker;
    uint32_t count;
    char first[32]; /* the program that started first */
};

static void fill(struct Starts* starts, const char* program) {
    starts->count = 0;
    memset(starts->first, 0, sizeof starts->first);
    strncpy(starts->first, program, sizeof starts->first - 1);
    atomic_store_explicit(&starts->marker, Filled, memory_order_release); /* after the rest */
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

    /* Keep this part short and free of failures: if a process dies here, the mutex stays locked
     * until a restart. */
    pthread_mutex_lock(mutex);
    if (starts->marker != Filled) {
        fill(starts, argc > 0 ? argv[0] : "");
    }
    const uint32_t count = ++starts->count;
    pthread_mutex_unlock(mutex);

    printf("start %u, the first was %s\n", (unsigned)count, starts->first);
    return 0;
}
