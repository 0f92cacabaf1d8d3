#include "poison.hpp"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

const char *volatile current;

void report(const char *text)
{
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text, std::strlen(text));
}

void check(const char *what)
{
    if (current == nullptr)
        return;
    report(current);
    report(" calls ");
    report(what);
    report("\n");
    std::abort();
}

} // namespace

namespace qal::test {

Poison::Poison(const char *culprit)
{
    current = culprit;
}

Poison::~Poison()
{
    current = nullptr;
}

} // namespace qal::test

extern "C" {

// As the C library calls its own.
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *memory, size_t size);
void *__libc_memalign(size_t alignment, size_t size);
void __libc_free(void *memory);

void *malloc(size_t size) noexcept
{
    check("malloc");
    return __libc_malloc(size);
}

void *calloc(size_t count, size_t size) noexcept
{
    check("calloc");
    return __libc_calloc(count, size);
}

void *realloc(void *memory, size_t size) noexcept
{
    check("realloc");
    return __libc_realloc(memory, size);
}

void *reallocarray(void *memory, size_t count, size_t size) noexcept
{
    check("reallocarray");
    if (size != 0 && count > SIZE_MAX / size) {
        errno = ENOMEM;
        return nullptr;
    }
    return __libc_realloc(memory, count * size);
}

void *memalign(size_t alignment, size_t size) noexcept
{
    check("memalign");
    return __libc_memalign(alignment, size);
}

void *aligned_alloc(size_t alignment, size_t size) noexcept
{
    check("aligned_alloc");
    return __libc_memalign(alignment, size);
}

int posix_memalign(void **memory, size_t alignment, size_t size) noexcept
{
    check("posix_memalign");
    *memory = __libc_memalign(alignment, size);
    return *memory == nullptr ? ENOMEM : 0;
}

void free(void *memory) noexcept
{
    check("free");
    __libc_free(memory);
}

void *mmap(void *address, size_t length, int protection, int flags, int fd, off_t offset) noexcept
{
    check("mmap");
    return reinterpret_cast<void *>(
        syscall(SYS_mmap, address, length, protection, flags, fd, offset));
}

void *mremap(void *old, size_t old_size, size_t new_size, int flags, ...) noexcept
{
    check("mremap");
    return reinterpret_cast<void *>(syscall(SYS_mremap, old, old_size, new_size, flags, nullptr));
}

int munmap(void *address, size_t length) noexcept
{
    check("munmap");
    return static_cast<int>(syscall(SYS_munmap, address, length));
}

// Nobody else in this program moves the end of its data.
int brk(void *) noexcept
{
    check("brk");
    std::abort();
}

void *sbrk(intptr_t) noexcept
{
    check("sbrk");
    std::abort();
}
}
