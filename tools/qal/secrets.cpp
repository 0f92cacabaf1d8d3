#include "secrets.hpp"

#include "errors.hpp"

#include <CLI/CLI.hpp>

#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace qal::tool {

namespace {

// A few lines of text at most; erased at the end.
struct Text {
    std::array<char, 4096> characters{};
    size_t size = 0;

    ~Text() { explicit_bzero(characters.data(), characters.size()); }
};

void read_all(int fd, const std::string &name, Text &text)
{
    for (;;) {
        const ssize_t n =
            ::read(fd, text.characters.data() + text.size, text.characters.size() - text.size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            throw FileError(name, errno);
        if (n == 0)
            return;
        text.size += static_cast<size_t>(n);
        if (text.size == text.characters.size())
            throw std::runtime_error(name + ": too long");
    }
}

} // namespace

Secret::~Secret()
{
    if (!bytes_.empty())
        explicit_bzero(bytes_.data(), bytes_.size());
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
    Text text;
    if (descriptor_option_->count() > 0) {
        read_all(descriptor_, name(), text);
    } else {
        const int fd = ::open(file_.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0)
            throw FileError(name(), errno);
        try {
            read_all(fd, name(), text);
        } catch (...) {
            ::close(fd);
            throw;
        }
        ::close(fd);
    }
    return Secret(std::span(reinterpret_cast<const uint8_t *>(text.characters.data()), text.size));
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
