#include "output.hpp"

#include "errors.hpp"
#include "hex.hpp"
#include "interruption.hpp"
#include "randomness.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

namespace qal::tool {

namespace {

constexpr char descriptors[] = "/proc/self/fd/";

bool is_same(const struct stat &a, const struct stat &b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// A descriptor of the caller's, open for writing to this file; -1 if there is none.
int open_descriptor_of(const struct stat &file)
{
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator(descriptors, error)) {
        const int fd = std::stoi(entry.path().filename().string());
        const int flags = ::fcntl(fd, F_GETFL);
        struct stat status {};
        if (fd != STDIN_FILENO && flags >= 0 && (flags & O_ACCMODE) != O_RDONLY &&
            ::fstat(fd, &status) == 0 && is_same(status, file))
            return fd;
    }
    return -1;
}

// Where a name leads; that links end somewhere, and may be followed, is known from stat().
std::filesystem::path follow(std::filesystem::path path)
{
    for (;;) {
        std::error_code error;
        const auto target = std::filesystem::read_symlink(path, error);
        if (error)
            return path;
        path = path.parent_path() / target;
    }
}

std::string folder_of(const std::string &path)
{
    const std::string folder = std::filesystem::path(path).parent_path();
    return folder.empty() ? "." : folder;
}

std::string unused_name(const std::string &folder)
{
    std::array<uint8_t, 16> random;
    system_random(random.data(), static_cast<uint32_t>(random.size()));
    return folder + "/.qal-" + to_hex(random);
}

[[noreturn]] void refuse_to_replace(const std::string &name)
{
    throw std::runtime_error(quote(name) + ": exists already, and only --force replaces it");
}

} // namespace

// The other constructor has completed the object: the destructor cleans up after a failure here.
Output::Output(const std::string &name, Access access, Existing existing) : Output(name)
{
    access_ = access;
    existing_ = existing;
    if (name == "-") {
        fd_ = STDOUT_FILENO;
        return;
    }
    struct stat status {};
    if (::stat(name.c_str(), &status) == 0) {
        if ((fd_ = open_descriptor_of(status)) >= 0)
            return;
        path_ = follow(name);
        struct stat found {};
        // Links in /proc/*/fd may lead to files that have no path any more.
        if (!S_ISREG(status.st_mode) || ::stat(path_.c_str(), &found) != 0 ||
            !is_same(status, found)) {
            path_.clear();
            fd_ = ::open(name.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
            if (fd_ < 0)
                fail();
            owns_fd_ = true;
            return;
        }
        if (existing == Existing::kept)
            refuse_to_replace(name);
        // Replacing a file takes no right to write to it, but is to.
        if (::faccessat(AT_FDCWD, path_.c_str(), W_OK, AT_EACCESS) != 0)
            fail();
        replaced_ = status;
    } else if (errno == ENOENT) {
        path_ = follow(name);
    } else {
        fail();
    }
    begin_file();
}

Output::~Output()
{
    if (owns_fd_)
        ::close(fd_);
    if (!temporary_.empty()) {
        ::unlink(temporary_.c_str());
        remove_when_interrupted("");
    }
}

void Output::fail() const
{
    throw FileError(quote(name_), errno);
}

void Output::begin_file()
{
    const std::string folder = folder_of(path_);
    fd_ = ::open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
    // It gets its name by way of /proc.
    if (fd_ >= 0 && ::access((descriptors + std::to_string(fd_)).c_str(), F_OK) != 0) {
        ::close(fd_);
        fd_ = -1;
    }
    if (fd_ < 0) {
        name_file();
        fd_ = ::open(temporary_.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600);
    }
    if (fd_ < 0)
        fail();
    owns_fd_ = true;
    if (replaced_ && ::fchown(fd_, replaced_->st_uid, replaced_->st_gid) != 0)
        fail();
}

// Known to the signals' handler before it is there.
void Output::name_file()
{
    temporary_ = unused_name(folder_of(path_));
    remove_when_interrupted(temporary_);
}

void Output::write(const uint8_t *data, size_t size)
{
    while (size > 0) {
        const ssize_t n = ::write(fd_, data, size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0 && fd_ == STDOUT_FILENO)
            throw WriteError();
        if (n < 0)
            fail();
        data += n;
        size -= static_cast<size_t>(n);
    }
}

void Output::commit()
{
    if (!path_.empty()) {
        const mode_t mask = ::umask(0);
        ::umask(mask);
        const mode_t mode = access_ == Access::owner          ? 0600
                            : replaced_                       ? replaced_->st_mode & 0777
                            : access_ == Access::owner_if_new ? 0600
                                                              : 0666 & ~mask;
        if (::fchmod(fd_, mode) != 0 || ::fsync(fd_) != 0)
            fail();
        appear();
    }
    if (owns_fd_) {
        owns_fd_ = false;
        if (::close(fd_) != 0)
            fail();
    }
}

void Output::appear()
{
    const char *const path = path_.c_str();
    if (temporary_.empty()) {
        const std::string unnamed = descriptors + std::to_string(fd_);
        const auto link_to = [&](const std::string &name) {
            return ::linkat(AT_FDCWD, unnamed.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW);
        };
        if (!replaced_ && link_to(path_) == 0)
            return;
        if (!replaced_ && errno != EEXIST)
            fail();
        if (existing_ == Existing::kept)
            refuse_to_replace(name_);
        // No system call puts a file without a name into another's place.
        name_file();
        if (link_to(temporary_) != 0)
            fail();
    }
    if (existing_ == Existing::kept) {
        // FAT knows no links, NFS no flags of a renaming.
        int failed = ::link(temporary_.c_str(), path);
        if (failed == 0)
            return; // and the temporary name goes in the end
        if (errno != EEXIST)
            failed = ::renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, path, RENAME_NOREPLACE);
        if (failed != 0 && errno == EEXIST)
            refuse_to_replace(name_);
        if (failed != 0)
            fail();
    } else if (::rename(temporary_.c_str(), path) != 0) {
        fail();
    }
    temporary_.clear();
    remove_when_interrupted("");
}

} // namespace qal::tool
