#include "comparison.hpp"

#include "symbols.hpp"

#include <algorithm>
#include <iomanip>
#include <set>
#include <sstream>

namespace qal::test {

namespace {

// Goes through a log block by block.
class Walk {
public:
    explicit Walk(const Log &log) : words_(log.words()) {}

    [[nodiscard]] bool at_end() const { return position_ == words_.size(); }
    [[nodiscard]] uint64_t at() const { return words_[position_]; }
    [[nodiscard]] const Block &block() const { return Recorder::instance().block(at()); }
    [[nodiscard]] const uint64_t *values() const { return words_.data() + position_ + 1; }
    // The block behind this one; 0 behind the last.
    [[nodiscard]] uint64_t next() const
    {
        const size_t next = position_ + block().words;
        return next < words_.size() ? words_[next] : 0;
    }

    // Those that have not returned, and the one that has this instruction.
    [[nodiscard]] std::vector<std::string> functions(uint64_t at) const
    {
        std::vector<std::string> names;
        for (const uint64_t call : calls_)
            names.push_back(function_at(call).name);
        names.push_back(function_at(at).name);
        // What std::function is made of is no news.
        std::erase_if(names, [](const std::string &name) { return name.starts_with("std::"); });
        return names;
    }

    void advance(const Block &past)
    {
        position_ += past.words;
        const Instruction &last = past.instructions.back();
        const bool outside = std::ranges::any_of(
            last.values, [](const Value &v) { return v.kind == Value::Kind::argument; });
        using Flow = Instruction::Flow;
        if ((last.flow == Flow::call || last.flow == Flow::indirect_call) && !outside)
            calls_.push_back(last.at);
        if ((last.flow == Flow::leave || (last.flow == Flow::indirect_jump && outside)) &&
            !calls_.empty())
            calls_.pop_back();
    }

    // To where the function goes back to that has this many callers.
    void leave_function(size_t callers)
    {
        while (!at_end() && calls_.size() >= callers)
            advance(block());
    }

    [[nodiscard]] size_t callers() const { return calls_.size(); }

private:
    std::span<const uint64_t> words_;
    size_t position_ = 0;
    std::vector<uint64_t> calls_; // the instructions
};

std::string place(uint64_t at)
{
    if (at == 0)
        return "the end";
    const Function function = function_at(at);
    std::ostringstream text;
    text << function.name << "+0x" << std::hex << at - function.range.begin;
    return text.str();
}

std::string where(const Instruction &in)
{
    return place(in.at) + ": " + disassemble(in.at);
}

Difference other_value(const Instruction &in, const Value &value, const Walk &walk, size_t word,
                       const Walk &other)
{
    std::ostringstream text;
    text << where(in) << ": " << name_of(value.kind) << " 0x" << std::hex << walk.values()[word]
         << ", 0x" << other.values()[word];
    return {in.at, walk.functions(in.at), text.str()};
}

Difference other_way(const Instruction &in, const Walk &one, const Walk &other)
{
    return {in.at, one.functions(in.at),
            where(in) + ": goes on at " + place(one.next()) + ", " + place(other.next())};
}

} // namespace

std::vector<Difference> differences(const Log &one, const Log &other,
                                    const std::function<bool(const Difference &)> &may_differ)
{
    std::vector<Difference> found;
    if (std::ranges::equal(one.words(), other.words()))
        return found;
    std::set<uint64_t> seen;
    Walk a(one), b(other);
    while (!a.at_end() && !b.at_end()) {
        const Block &block = a.block();
        if (!std::equal(a.values(), a.values() + block.words - 1, b.values())) {
            size_t i = 0;
            for (const Instruction &in : block.instructions)
                for (const Value &value : in.values)
                    for (size_t word = 0; word < value.words; word++, i++)
                        if (a.values()[i] != b.values()[i] && seen.insert(in.at).second)
                            found.push_back(other_value(in, value, a, i, b));
        }
        if (a.next() == b.next()) {
            a.advance(block);
            b.advance(block);
            continue;
        }
        found.push_back(other_way(block.instructions.back(), a, b));
        if (!may_differ(found.back()))
            break;
        const size_t callers = a.callers();
        a.leave_function(callers);
        b.leave_function(callers);
        if (a.at_end() || b.at_end() || a.at() != b.at())
            break;
    }
    return found;
}

std::vector<uint64_t> steps_of(const Log &log)
{
    std::vector<uint64_t> steps;
    for (Walk walk(log); !walk.at_end(); walk.advance(walk.block())) {
        size_t i = 0;
        for (const Instruction &in : walk.block().instructions) {
            steps.push_back(in.at);
            for (const Value &value : in.values)
                for (size_t word = 0; word < value.words; word++, i++)
                    if (value.kind != Value::Kind::argument)
                        steps.push_back(walk.values()[i]);
        }
    }
    return steps;
}

} // namespace qal::test
