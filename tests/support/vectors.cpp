#include "support/vectors.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <istream>
#include <stdexcept>

namespace qal::test {

namespace {

std::string trimmed(const std::string &text)
{
    const size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos)
        return "";
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

[[noreturn]] void fail(const std::string &place, const std::string &what)
{
    throw std::runtime_error(place + ": " + what);
}

// The argument list of `function(...)`, or nothing.
bool is_call(const std::string &value, const std::string &function, std::string &arguments)
{
    if (value.rfind(function + "(", 0) != 0 || value.back() != ')')
        return false;
    arguments = value.substr(function.size() + 1, value.size() - function.size() - 2);
    return true;
}

Bytes evaluate(const std::string &value)
{
    std::string arguments;
    if (is_call(value, "pattern251", arguments))
        return pattern251(std::stoull(arguments));
    if (is_call(value, "repeat", arguments)) {
        const size_t comma = arguments.find(',');
        if (comma == std::string::npos)
            throw std::invalid_argument("repeat(hex, n) takes two arguments");
        const Bytes unit = from_hex(trimmed(arguments.substr(0, comma)));
        Bytes bytes;
        for (uint64_t n = std::stoull(arguments.substr(comma + 1)); n > 0; n--)
            bytes.insert(bytes.end(), unit.begin(), unit.end());
        return bytes;
    }
    return from_hex(value);
}

} // namespace

const std::string &Vector::text(const std::string &name)
{
    const auto found = values_.find(name);
    if (found == values_.end())
        fail(place_, "no attribute " + name);
    unread_.erase(name);
    return found->second;
}

uint64_t Vector::number(const std::string &name)
{
    const std::string &value = text(name);
    size_t used = 0;
    uint64_t number = 0;
    try {
        number = std::stoull(value, &used, 0);
    } catch (const std::exception &) {
        used = 0;
    }
    if (used == 0 || used != value.size())
        fail(place_, name + " is not a number: " + value);
    return number;
}

Bytes Vector::bytes(const std::string &name)
{
    const std::string &value = text(name);
    try {
        const Bytes bytes = evaluate(value);
        return most_significant_first_ ? reversed(bytes) : bytes;
    } catch (const std::exception &error) {
        fail(place_, name + ": " + error.what());
    }
}

VectorFile::VectorFile(const std::string &name) : name_(name)
{
    std::ifstream input(std::string(QAL_TEST_VECTORS) + "/" + name);
    if (!input)
        fail(name, "cannot be opened");
    parse(input);
}

VectorFile::VectorFile(const std::string &name, std::istream &input) : name_(name)
{
    parse(input);
}

void VectorFile::parse(std::istream &input)
{
    std::string operation, line;
    std::map<std::string, std::string> shared, own;
    bool in_head = false; // between the name of an operation and the first blank line
    std::string order = "lsb", start;
    size_t number = 0;

    const auto place = [&] { return name_ + ":" + std::to_string(number); };
    const auto finish = [&] {
        if (own.empty())
            return;
        Vector vector(operation, start);
        vector.most_significant_first_ = order == "msb";
        vector.values_ = own;
        vector.values_.insert(shared.begin(), shared.end());
        vectors_.push_back(std::move(vector));
        own.clear();
    };

    while (std::getline(input, line)) {
        number++;
        line = trimmed(line);
        if (line.empty()) {
            finish();
            in_head = false;
            continue;
        }
        if (line.front() == '#')
            continue;
        if (line.front() == '[') {
            finish();
            if (line.back() != ']' || line.size() < 3)
                fail(place(), "malformed name of an operation");
            operation = line.substr(1, line.size() - 2);
            shared.clear();
            order = "lsb";
            in_head = true;
            continue;
        }
        const size_t equals = line.find('=');
        if (equals == std::string::npos)
            fail(place(), "neither `Name = value` nor [operation]");
        const std::string name = trimmed(line.substr(0, equals));
        const std::string value = trimmed(line.substr(equals + 1));
        if (operation.empty() || name.empty())
            fail(place(), "an attribute without an operation or a name");
        if (in_head && name == "Order") {
            if (value != "msb" && value != "lsb")
                fail(place(), "Order is msb or lsb");
            order = value;
            continue;
        }
        if (own.empty())
            start = place();
        if (shared.count(name) || !(in_head ? shared : own).emplace(name, value).second)
            fail(place(), name + " stands twice");
    }
    finish();
}

void VectorFile::begin(Vector &vector)
{
    vector.unread_.clear();
    for (const auto &[name, value] : vector.values_)
        vector.unread_.insert(name);
}

void VectorFile::end(const Vector &vector)
{
    for (const std::string &name : vector.unread_)
        ADD_FAILURE() << vector.place() << ": nothing reads " << name;
}

void VectorFile::require_found(const std::string &operation, size_t found)
{
    if (found == 0)
        fail(name_, "no vectors for [" + operation + "]");
}

} // namespace qal::test
