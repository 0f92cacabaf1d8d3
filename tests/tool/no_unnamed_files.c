// Preloaded: a system whose file systems know no files without names.
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <sys/syscall.h>
#include <unistd.h>

int open(const char *path, int flags, ...)
{
    if ((flags & O_TMPFILE) == O_TMPFILE) {
        errno = EOPNOTSUPP;
        return -1;
    }
    va_list more;
    va_start(more, flags);
    const int mode = (flags & O_CREAT) != 0 ? va_arg(more, int) : 0;
    va_end(more);
    return (int)syscall(SYS_openat, AT_FDCWD, path, flags, mode);
}
