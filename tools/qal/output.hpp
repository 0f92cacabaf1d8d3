// Where results go.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace qal::tool {

// Who may read a regular file: whoever the user's other files are for, or its owner alone. Without
// a demand a file that is replaced keeps its mode.
enum class Access {
    usual,
    owner_if_new,
    owner, // demanded
};

// Whether a regular file that is there is replaced.
enum class Existing { replaced, kept };

// Standard output ("-") as it comes; or a regular file that appears, or replaces another, only when
// everything is in it.
//
// Symbolic links are followed. What is there and not a regular file - a device, a pipe - is written
// to as it is, and so is a descriptor that the caller has open, by whatever name (/dev/stdout). A
// file that replaces another has its owner and mode.
//
// Until the end a file has no name, so that nothing of it is left even if the program is killed. On
// file systems that know no files without names it has a temporary one, which signals that can be
// caught remove. One that replaces another has a temporary name for the moment between its two last
// steps.
class Output {
public:
    // Throws FileError, or std::runtime_error if a file is to be kept.
    Output(const std::string &name, Access access, Existing existing = Existing::replaced);
    Output(const Output &) = delete;
    Output &operator=(const Output &) = delete;
    ~Output(); // without commit() before, no file has changed

    void write(const uint8_t *data, size_t size);
    void commit();

private:
    explicit Output(const std::string &name) : name_(name) {}
    [[noreturn]] void fail() const;
    void begin_file();
    void name_file();
    void appear();

    std::string name_;
    std::string path_;      // where the file is to appear; empty for what is written to as it is
    std::string temporary_; // its name until then, if it has one
    Access access_ = Access::usual;
    Existing existing_ = Existing::replaced;
    std::optional<struct stat> replaced_;
    int fd_ = -1;
    bool owns_fd_ = false;
};

} // namespace qal::tool
