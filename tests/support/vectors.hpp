// Test vectors in data files.
//
//   # a comment: the source and its clause
//   [operation]
//   Order = msb
//
//   Message = 3031...
//   Digest = 486f...
//
// Attributes are `Name = value`; a blank line ends a vector. Attributes that stand right below the
// name of an operation hold for all its vectors. Order tells how the hexadecimal values that follow
// are printed: msb, most significant byte first (the reader turns them round), or lsb. Long inputs
// may be formulas: pattern251(n), or repeat(hex, n).
//
// The reader is strict: a malformed line, a repeated, missing or unread attribute fails the test,
// which is told the file and line.
#ifndef QAL_TESTS_SUPPORT_VECTORS_HPP
#define QAL_TESTS_SUPPORT_VECTORS_HPP

#include "support/bytes.hpp"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace qal::test {

class Vector {
public:
    Vector(std::string operation, std::string place)
        : operation_(std::move(operation)), place_(std::move(place))
    {
    }

    [[nodiscard]] const std::string &operation() const { return operation_; }
    // file:line, for messages
    [[nodiscard]] const std::string &place() const { return place_; }

    [[nodiscard]] bool has(const std::string &name) const { return values_.count(name) != 0; }
    // Each of these throws std::runtime_error with the place when there is no such attribute.
    const std::string &text(const std::string &name);
    uint64_t number(const std::string &name);
    Bytes bytes(const std::string &name);

private:
    friend class VectorFile;

    std::string operation_, place_;
    bool most_significant_first_ = false;
    std::map<std::string, std::string> values_;
    std::set<std::string> unread_;
};

class VectorFile {
public:
    // name is relative to tests/vectors
    explicit VectorFile(const std::string &name);
    // from text, for the reader's own tests
    VectorFile(const std::string &name, std::istream &input);

    // Calls check(vector) for every vector of the operation, which must have at least one, and
    // fails the test for each attribute that the check leaves unread.
    template<typename Check>
    void each(const std::string &operation, Check check)
    {
        size_t found = 0;
        for (Vector &vector : vectors_) {
            if (vector.operation() != operation)
                continue;
            found++;
            begin(vector);
            check(vector);
            end(vector);
        }
        require_found(operation, found);
    }

    [[nodiscard]] const std::vector<Vector> &vectors() const { return vectors_; }

private:
    void parse(std::istream &input);
    void begin(Vector &vector);
    void end(const Vector &vector);
    void require_found(const std::string &operation, size_t found);

    std::string name_;
    std::vector<Vector> vectors_;
};

} // namespace qal::test

#endif
