/* Preloaded into the daemons of a lab. Their clocks run ahead by the number of seconds in the file
 * CLOCK_AHEAD, which the test raises instead of waiting for minutes. */
#define _GNU_SOURCE  // NOLINT(bugprone-reserved-identifier): asks the C library for more
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

static const volatile int64_t* ahead;

__attribute__((constructor)) static void attach(void) {
    const char* path = getenv("CLOCK_AHEAD");
    const int file = open(path != NULL ? path : "", O_RDONLY | O_CLOEXEC);
    void* page = mmap(NULL, sizeof *ahead, PROT_READ, MAP_SHARED, file, 0);
    if (page == MAP_FAILED) {
        perror("CLOCK_AHEAD");
        abort();
    }
    close(file);
    ahead = page;
    unsetenv("LD_PRELOAD"); /* programs that the daemon starts keep the real time */
}

/* The loader may run code of other libraries before attach(). */
int clock_gettime(clockid_t clock, struct timespec* t) {
    const int result = (int)syscall(SYS_clock_gettime, clock, t);
    if (result == 0 && ahead != NULL &&
        (clock == CLOCK_REALTIME || clock == CLOCK_MONOTONIC || clock == CLOCK_BOOTTIME)) {
        t->tv_sec += *ahead;
    }
    return result;
}

time_t time(time_t* result) {
    struct timespec t;
    clock_gettime(CLOCK_REALTIME, &t);
    if (result != NULL) *result = t.tv_sec;
    return t.tv_sec;
}
