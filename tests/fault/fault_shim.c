// Preloaded into a program under test (LD_PRELOAD) to make the system
// refuse what it rarely refuses on a developer's machine:
//   QUORLEN_FAULT_THREADS=N      the first N pthread_create calls succeed,
//                                later ones fail with EAGAIN, as under a
//                                per-user process limit;
//   QUORLEN_FAULT_ALLOC_ABOVE=B  every single allocation of more than B
//                                bytes fails with ENOMEM, as when memory
//                                runs out in the middle of a large file;
//   QUORLEN_FAULT_WRITE_ABOVE=B  writes into regular files other than the
//                                standard streams fail with ENOSPC once B
//                                bytes have gone into them, as on a disk that
//                                fills up;
//   QUORLEN_FAULT_FSYNC=1        fsync fails with EIO, as on a failing disk;
//   QUORLEN_FAULT_RENAME=1       rename fails with EIO.
// Without these variables the program runs as usual.
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <pthread.h>
#include <stdatomic.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

extern void* __libc_malloc(size_t size);
extern void* __libc_calloc(size_t count, size_t size);
extern void* __libc_realloc(void* pointer, size_t size);
extern void* __libc_memalign(size_t alignment, size_t size);

static long long fromEnvironment(const char* name) {
    const char* text = getenv(name);
    return text ? atoll(text) : -1;
}

// Read on every call: getenv does not allocate, and the cost does not
// matter in a test.
static int refused(size_t bytes) {
    const long long limit = fromEnvironment("QUORLEN_FAULT_ALLOC_ABOVE");
    if (limit < 0 || bytes <= (size_t)limit)
        return 0;
    errno = ENOMEM;
    return 1;
}

// The next definition of `name`: libc's.
#define NEXT(name) ((__typeof__(&name))dlsym(RTLD_NEXT, #name))

void* malloc(size_t size) { return refused(size) ? NULL : __libc_malloc(size); }

void* calloc(size_t count, size_t size) {
    const int overflows = size != 0 && count > (size_t)-1 / size;
    return !overflows && refused(count * size) ? NULL : __libc_calloc(count, size);
}

void* realloc(void* pointer, size_t size) {
    return refused(size) ? NULL : __libc_realloc(pointer, size);
}

void* memalign(size_t alignment, size_t size) {
    return refused(size) ? NULL : __libc_memalign(alignment, size);
}

void* aligned_alloc(size_t alignment, size_t size) { return memalign(alignment, size); }

int posix_memalign(void** result, size_t alignment, size_t size) {
    void* pointer = memalign(alignment, size);
    if (!pointer)
        return ENOMEM;
    *result = pointer;
    return 0;
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                   void* argument) {
    static atomic_long created;
    const long long allowed = fromEnvironment("QUORLEN_FAULT_THREADS");
    if (allowed >= 0 && atomic_fetch_add(&created, 1) >= allowed)
        return EAGAIN;
    return NEXT(pthread_create)(thread, attributes, start, argument);
}

// Whether a write of `bytes` into `fd` runs past the disk's pretended end.
static int diskFull(int fd, size_t bytes) {
    static atomic_llong written;
    const long long limit = fromEnvironment("QUORLEN_FAULT_WRITE_ABOVE");
    struct stat status;
    if (limit < 0 || fd <= STDERR_FILENO || fstat(fd, &status) != 0 || !S_ISREG(status.st_mode))
        return 0;
    if (atomic_fetch_add(&written, (long long)bytes) + (long long)bytes <= limit)
        return 0;
    errno = ENOSPC;
    return 1;
}

ssize_t write(int fd, const void* data, size_t bytes) {
    return diskFull(fd, bytes) ? -1 : NEXT(write)(fd, data, bytes);
}

ssize_t pwrite(int fd, const void* data, size_t bytes, off_t offset) {
    return diskFull(fd, bytes) ? -1 : NEXT(pwrite)(fd, data, bytes, offset);
}

ssize_t pwrite64(int fd, const void* data, size_t bytes, off_t offset) {
    return pwrite(fd, data, bytes, offset);
}

static int failing(const char* name) {
    if (fromEnvironment(name) != 1)
        return 0;
    errno = EIO;
    return 1;
}

int fsync(int fd) { return failing("QUORLEN_FAULT_FSYNC") ? -1 : NEXT(fsync)(fd); }

int rename(const char* from, const char* to) {
    return failing("QUORLEN_FAULT_RENAME") ? -1 : NEXT(rename)(from, to);
}
