#include "secrets.hpp"

#include "errors.hpp"

#include <CLI/CLI.hpp>

#include <fcntl.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <new>
#include <stdexcept>
#include <utility>

namespace qal::tool {

namespace {

// A few lines of text at most.
Secret read_all(int fd, const std::string &name)
{
    Secret room(4096);
    for (size_t size = 0;;) {
        const ssize_t n = ::read(fd, room.data() + size, room.size() - size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            throw FileError(name, errno);
        if (n == 0)
            return Secret(std::span<const uint8_t>(room).first(size));
        size += static_cast<size_t>(n);
        if (size == room.size())
            throw std::runtime_error(name + ": too long");
    }
}

size_t page_size()
{
    static const auto size = static_cast<size_t>(::sysconf(_SC_PAGESIZE));
    return size;
}

// Whole pages that hold so many bytes.
size_t pages_for(size_t size)
{
    return (std::max<size_t>(size, 1) + page_size() - 1) / page_size() * page_size();
}

} // namespace

Secret::Secret(size_t size) : data_(nullptr), size_(size)
{
    // The last page is never accessible: reading on behind the bytes ends the program.
    const size_t pages = pages_for(size);
    void *const memory =
        ::mmap(nullptr, pages + page_size(), PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        throw std::bad_alloc();
    if (::mprotect(memory, pages, PROT_READ | PROT_WRITE) != 0 ||
        ::madvise(memory, pages, MADV_DONTDUMP) != 0) {
        ::munmap(memory, pages + page_size());
        throw std::bad_alloc();
    }
    // Refused beyond RLIMIT_MEMLOCK; the work is done all the same.
    (void)::mlock(memory, pages);
    constexpr size_t alignment = 64;
    data_ = static_cast<uint8_t *>(memory) +
            (pages - std::max<size_t>(size, 1)) / alignment * alignment;
}

Secret::Secret(std::span<const uint8_t> bytes) : Secret(bytes.size())
{
    std::copy(bytes.begin(), bytes.end(), data_);
}

Secret::Secret(Secret &&other) noexcept
    : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0))
{
}

Secret::~Secret()
{
    if (data_ == nullptr)
        return;
    explicit_bzero(data_, size_);
    const auto address = reinterpret_cast<uintptr_t>(data_);
    const size_t pages = pages_for(size_);
    ::munmap(data_ - address % page_size(), pages + page_size());
}

StackCleaner::~StackCleaner()
{
    // More than any operation of the library uses.
    std::array<uint8_t, 64 << 10> used;
    explicit_bzero(used.data(), used.size());
}

Secret line_of_hex(const Secret &secret)
{
    constexpr char digits[] = "0123456789abcdef";
    Secret line(2 * secret.size() + 1);
    for (size_t i = 0; i < secret.size(); i++) {
        line.data()[2 * i] = static_cast<uint8_t>(digits[secret.data()[i] >> 4]);
        line.data()[2 * i + 1] = static_cast<uint8_t>(digits[secret.data()[i] & 15]);
    }
    line.data()[2 * secret.size()] = '\n';
    return line;
}

SecretSource::SecretSource(CLI::App &command, std::string what, bool required,
                           const std::string &form)
    : what_(std::move(what))
{
    CLI::Option_group *group = command.add_option_group(what_);
    file_option_ =
        group->add_option("--" + what_ + "-file", file_, "File with the " + what_ + " in " + form)
            ->type_name("FILE");
    descriptor_option_ = group
                             ->add_option("--" + what_ + "-fd", descriptor_,
                                          "Descriptor to read the " + what_ + " from, likewise")
                             ->type_name("N")
                             ->check(CLI::NonNegativeNumber);
    if (required)
        group->require_option(1);
    else
        group->require_option(0, 1);
}

bool SecretSource::given() const
{
    return file_option_->count() + descriptor_option_->count() > 0;
}

std::string SecretSource::name() const
{
    return what_ + (descriptor_option_->count() > 0
                        ? " (descriptor " + std::to_string(descriptor_) + ")"
                        : " file " + quote(file_));
}

Secret SecretSource::read_text() const
{
    if (descriptor_option_->count() > 0)
        return read_all(descriptor_, name());
    const int fd = ::open(file_.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        throw FileError(name(), errno);
    try {
        Secret text = read_all(fd, name());
        ::close(fd);
        return text;
    } catch (...) {
        ::close(fd);
        throw;
    }
}

Secret SecretSource::read(size_t size) const
{
    return secret_from_hex(read_text().text(), size, name());
}

Secret secret_from_hex(std::string_view text, size_t size, const std::string &name)
{
    Secret secret(size);
    size_t digits = 0;
    for (const char c : text) {
        if (c == ' ' || c == '\n' || c == '\r' || c == '\t')
            continue;
        const int value = hex_value(c);
        if (value < 0 || digits == 2 * size) {
            digits = 0;
            break;
        }
        uint8_t &byte = secret.data()[digits / 2];
        byte = static_cast<uint8_t>(byte << 4 | value);
        digits++;
    }
    if (digits != 2 * size)
        throw std::runtime_error(name + ": not " + std::to_string(2 * size) +
                                 " hexadecimal digits");
    return secret;
}

} // namespace qal::tool
