/* Preloaded into a daemon: fails the allocation with the number FAIL_ALLOCATION, counted from the
 * start of the program, and FAIL_COUNT - 1 after it, and says so on standard error. */
#define _GNU_SOURCE  // NOLINT(bugprone-reserved-identifier): asks the C library for more
#include <errno.h>
#include <stdlib.h>
#include <unistd.h>

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);

static unsigned long done, first, last;

__attribute__((constructor)) static void attach(void) {
    const char* number = getenv("FAIL_ALLOCATION");
    const char* count = getenv("FAIL_COUNT");
    first = number != NULL ? strtoul(number, NULL, 10) : 0;
    last = first + (count != NULL ? strtoul(count, NULL, 10) : 1);
    done = 0;
    unsetenv("LD_PRELOAD"); /* programs that the daemon starts have memory */
}

static int fails(void) {
    static const char text[] = "fail_malloc: an allocation fails\n";
    done++;
    if (first == 0 || done < first || done >= last) return 0;
    if (done == first) (void)!write(STDERR_FILENO, text, sizeof text - 1);
    errno = ENOMEM;
    return 1;
}

void* malloc(size_t size) {
    return fails() ? NULL : __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
    return fails() ? NULL : __libc_calloc(count, size);
}

void* realloc(void* memory, size_t size) {
    return fails() ? NULL : __libc_realloc(memory, size);
}
