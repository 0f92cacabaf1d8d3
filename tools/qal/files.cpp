#include "files.hpp"

#include "errors.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

namespace qal::tool {

Input::Input(const std::string &name)
    : name_(name), fd_(name == "-" ? STDIN_FILENO : ::open(name.c_str(), O_RDONLY | O_CLOEXEC))
{
    if (fd_ < 0)
        throw FileError(quote(name), errno);
    // Advice only: pipes and the like refuse it.
    (void)::posix_fadvise(fd_, 0, 0, POSIX_FADV_SEQUENTIAL);
}

Input::~Input()
{
    if (fd_ != STDIN_FILENO)
        ::close(fd_);
}

size_t Input::read(uint8_t *data, size_t size)
{
    for (;;) {
        const ssize_t n = ::read(fd_, data, size);
        if (n >= 0)
            return static_cast<size_t>(n);
        if (errno != EINTR)
            throw FileError(quote(name_), errno);
    }
}

std::optional<uint64_t> length_of(const std::string &name)
{
    struct stat status {};
    const int failed = name == "-" ? ::fstat(STDIN_FILENO, &status) : ::stat(name.c_str(), &status);
    if (failed || !S_ISREG(status.st_mode))
        return std::nullopt;
    return static_cast<uint64_t>(status.st_size);
}

void print(std::string_view text)
{
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size())
        throw WriteError();
}

void finish_output()
{
    // Closing may be what tells of a full disk on the other side of a network.
    if (std::fflush(stdout) != 0 || ::close(STDOUT_FILENO) != 0)
        throw WriteError();
}

void occupy_standard_descriptors()
{
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; fd++)
        if (::fcntl(fd, F_GETFD) < 0 && errno == EBADF)
            (void)::open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

} // namespace qal::tool
