#include "recorder.hpp"

#include "symbols.hpp"

#include <sys/mman.h>

#include <bit>
#include <cstring>
#include <exception>
#include <map>
#include <stdexcept>

// Words that the copied code and recorder.S use by their addresses.
extern "C" {
uint64_t qal_trace_host_stack, qal_trace_guest_stack, qal_trace_jump;
static uint64_t trace_log;            // where the next word goes
static uint64_t trace_target;         // the block that is wanted
static uint64_t trace_rax, trace_rcx; // of the code, while ours needs them
static uint64_t trace_return;         // where a routine of the C library returns to
void qal_trace_enter(const void *code, void *argument, uint8_t *stack);
void qal_trace_exit();
void qal_trace_miss();
uint64_t qal_trace_translate();
}

namespace qal::test {

namespace {

constexpr size_t log_bytes = size_t{1} << 34, code_bytes = size_t{1} << 26, stack_bytes = 1 << 21;
constexpr size_t most_instructions = 64; // of a block

void *reserve(size_t bytes, int protection, int flags)
{
    void *const memory = mmap(nullptr, bytes, protection,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | flags, -1, 0);
    if (memory == MAP_FAILED)
        throw std::runtime_error("no memory can be had for a search of secrets in time");
    return memory;
}

template<typename T>
uint32_t low(const T *object)
{
    return static_cast<uint32_t>(reinterpret_cast<uint64_t>(object));
}

class Translator {
public:
    Translator()
        : text_(program_text()),
          table_(static_cast<uint64_t *>(
              reserve(8 * (text_.end - text_.begin), PROT_READ | PROT_WRITE, MAP_32BIT))),
          out_(static_cast<uint8_t *>(
              reserve(code_bytes, PROT_READ | PROT_WRITE | PROT_EXEC, MAP_32BIT))),
          out_end_(out_ + code_bytes)
    {
        const auto miss = reinterpret_cast<uint64_t>(qal_trace_miss);
        for (uint64_t i = 0; i < text_.end - text_.begin; i++)
            table_[i] = miss;
        entry(reinterpret_cast<uint64_t>(qal_trace_exit)) =
            reinterpret_cast<uint64_t>(qal_trace_exit);
        after_call_ = out_;
        save();
        put({0x48, 0x8b, 0x04, 0x25}, low(&trace_return));
        go_to_rax();
    }

    // The copy of the block that begins there.
    uint64_t translated(uint64_t at)
    {
        if (!text_.contains(at))
            throw std::runtime_error("the code goes to " + std::to_string(at) +
                                     ", which is outside of the program");
        uint64_t &known = entry(at);
        if (known == reinterpret_cast<uint64_t>(qal_trace_miss)) {
            if (out_end_ - out_ < 1 << 16)
                throw std::runtime_error("there is more code than room for it");
            Block block = read(at);
            known = reinterpret_cast<uint64_t>(out_);
            write(block);
            blocks.emplace(at, std::move(block));
        }
        return known;
    }

    std::map<uint64_t, Block> blocks;
    std::exception_ptr failure;

private:
    uint64_t &entry(uint64_t at) { return table_[at - text_.begin]; }

    static Block read(uint64_t at)
    {
        Block block;
        block.at = at;
        do {
            block.instructions.push_back(decode(at));
            Instruction &last = block.instructions.back();
            if (!import_of(last).empty())
                add_arguments(last);
            for (const Value &value : last.values)
                block.words += value.words;
            at = last.next();
        } while (block.instructions.back().flow == Instruction::Flow::next &&
                 block.instructions.size() < most_instructions);
        return block;
    }

    // The routine of another object that an indirect jump or call goes to.
    static std::string import_of(const Instruction &in)
    {
        if ((in.flow != Instruction::Flow::indirect_jump &&
             in.flow != Instruction::Flow::indirect_call) ||
            in.destination.source != Value::Source::word || in.destination.base >= 0 ||
            in.destination.index >= 0)
            return {};
        std::string name = imported_at(static_cast<uint64_t>(in.destination.displacement));
        if (!name.empty() && !arguments().contains(name))
            throw std::runtime_error("the C library's " + name + " is called by " +
                                     function_at(in.at).name);
        return name;
    }

    // The routines that may be called, and the registers of what their accesses depend on.
    static const std::map<std::string, std::vector<int>> &arguments()
    {
        constexpr int rdx = 2, rsi = 6, rdi = 7;
        static const std::map<std::string, std::vector<int>> known = {
            {"memcpy", {rdi, rsi, rdx}},
            {"memmove", {rdi, rsi, rdx}},
            {"memset", {rdi, rdx}},
            {"explicit_bzero", {rdi, rsi}},
            // The same where _FORTIFY_SOURCE is on.
            {"__memcpy_chk", {rdi, rsi, rdx}},
            {"__memmove_chk", {rdi, rsi, rdx}},
            {"__memset_chk", {rdi, rdx}},
            {"__explicit_bzero_chk", {rdi, rsi}}};
        return known;
    }

    static void add_arguments(Instruction &in)
    {
        for (const int reg : arguments().at(import_of(in)))
            in.values.push_back({.kind = Value::Kind::argument, .base = reg});
    }

    void write(const Block &block)
    {
        save();
        put({0x48, 0x8b, 0x0c, 0x25}, low(&trace_log)); // mov rcx, [log]
        put({0x48, 0xc7, 0x01}, static_cast<uint32_t>(block.at));
        advance(1);
        restore();
        for (const Instruction &in : block.instructions) {
            if (!in.values.empty())
                write_values(in.values);
            write(in);
        }
        const Instruction &last = block.instructions.back();
        if (last.flow == Instruction::Flow::next)
            go_to(last.next());
    }

    void write_values(const std::vector<Value> &values)
    {
        save();
        for (const Value &value : values) {
            if (value.source == Value::Source::vector) {
                put({0x48, 0x8b, 0x0c, 0x25}, low(&trace_log));
                store_vector(value);
            } else {
                load(value);
                put({0x48, 0x8b, 0x0c, 0x25}, low(&trace_log));
                put({0x48, 0x89, 0x01}); // mov [rcx], rax
            }
            advance(value.words);
            restore();
        }
    }

    void write(const Instruction &in)
    {
        using Flow = Instruction::Flow;
        switch (in.flow) {
        case Flow::next:
            copy(in);
            break;
        case Flow::jump:
            go_to(in.target);
            break;
        case Flow::branch: {
            // 7x rel8 or 0f 8x rel32; loops and jrcxz have rel8 alone.
            const size_t opcode = in.length >= 6 ? in.length - 5 : in.length - 2;
            const auto condition =
                static_cast<uint8_t>(in.length >= 6 ? in.bytes[opcode] - 0x10 : in.bytes[opcode]);
            constexpr uint8_t go_to_bytes = 19;
            put({condition, go_to_bytes});
            const uint8_t *const from = out_;
            go_to(in.next());
            if (out_ - from != go_to_bytes)
                throw std::logic_error("a jump has another length");
            go_to(in.target);
            break;
        }
        case Flow::call:
            put({0x68}, static_cast<uint32_t>(in.next()));
            go_to(in.target);
            break;
        case Flow::leave:
            save();
            put({0x48, 0x8b, 0x04, 0x24});                                        // mov rax, [rsp]
            put({0x48, 0x8d, 0xa4, 0x24}, static_cast<uint32_t>(8 + in.dropped)); // lea rsp, ...
            go_to_rax();
            break;
        case Flow::indirect_jump:
        case Flow::indirect_call: {
            const bool outside = !import_of(in).empty(), call = in.flow == Flow::indirect_call;
            save();
            if (outside) {
                if (call)
                    put({0x48, 0xc7, 0xc0}, static_cast<uint32_t>(in.next())); // mov rax, imm
                else
                    put({0x48, 0x8b, 0x04, 0x24}); // mov rax, [rsp]
                put({0x48, 0x89, 0x04, 0x25}, low(&trace_return));
                restore();
                if (call)
                    put({0x68}, low(after_call_));
                else
                    put({0x48, 0xc7, 0x04, 0x24}, low(after_call_)); // mov qword [rsp], imm
                put({0xff, 0x24, 0x25}, static_cast<uint32_t>(in.destination.displacement));
                break;
            }
            load(in.destination);
            put({0x48, 0x89, 0x04, 0x25}, low(&trace_target));
            look_up_rax();
            if (call)
                put({0x68}, static_cast<uint32_t>(in.next()));
            put({0xff, 0x24, 0x25}, low(&qal_trace_jump));
            break;
        }
        }
    }

    void copy(const Instruction &in)
    {
        std::memcpy(out_, in.bytes, in.length);
        if (in.relative_at != 0) {
            int32_t displacement;
            std::memcpy(&displacement, in.bytes + in.relative_at, sizeof displacement);
            displacement += static_cast<int32_t>(in.at - reinterpret_cast<uint64_t>(out_));
            std::memcpy(out_ + in.relative_at, &displacement, sizeof displacement);
        }
        out_ += in.length;
    }

    void put(std::initializer_list<uint8_t> bytes)
    {
        for (const uint8_t byte : bytes)
            *out_++ = byte;
    }

    void put(std::initializer_list<uint8_t> bytes, uint32_t last)
    {
        put(bytes);
        std::memcpy(out_, &last, sizeof last);
        out_ += sizeof last;
    }

    void save()
    {
        put({0x48, 0x89, 0x04, 0x25}, low(&trace_rax));
        put({0x48, 0x89, 0x0c, 0x25}, low(&trace_rcx));
    }

    void restore()
    {
        put({0x48, 0x8b, 0x04, 0x25}, low(&trace_rax));
        put({0x48, 0x8b, 0x0c, 0x25}, low(&trace_rcx));
    }

    // lea rcx, [rcx + 8 words]; mov [log], rcx
    void advance(size_t words)
    {
        put({0x48, 0x8d, 0x89}, static_cast<uint32_t>(8 * words));
        put({0x48, 0x89, 0x0c, 0x25}, low(&trace_log));
    }

    // Into rax; rax and rcx are still those of the code.
    void load(const Value &value)
    {
        if (value.source == Value::Source::mask) { // kmovq rax, k
            put({0xc4, 0xe1, 0xfb, 0x93, static_cast<uint8_t>(0xc0 | value.number)});
            return;
        }
        const bool base = value.base >= 0, index = value.index >= 0;
        const auto prefix = static_cast<uint8_t>(0x48 | (index && value.index >= 8 ? 2 : 0) |
                                                 (base && value.base >= 8 ? 1 : 0));
        const uint8_t opcode = value.source == Value::Source::sum ? 0x8d : 0x8b;
        const auto sib = static_cast<uint8_t>(
            value.scale << 6 | (index ? value.index & 7 : 4) << 3 | (base ? value.base & 7 : 5));
        put({prefix, opcode, static_cast<uint8_t>(base ? 0x84 : 0x04), sib},
            static_cast<uint32_t>(value.displacement));
    }

    // To [rcx]
    void store_vector(const Value &value)
    {
        const int n = value.number;
        if (value.wide) // vmovdqu64 [rcx], zmm
            put({0x62, static_cast<uint8_t>(0x61 | (n & 8 ? 0 : 0x80) | (n & 16 ? 0 : 0x10)), 0xfe,
                 0x48, 0x7f, static_cast<uint8_t>(0x01 | (n & 7) << 3)});
        else // vmovdqu [rcx], ymm
            put({0xc5, static_cast<uint8_t>(n & 8 ? 0x7e : 0xfe), 0x7f,
                 static_cast<uint8_t>(0x01 | (n & 7) << 3)});
    }

    void go_to(uint64_t at)
    {
        if (!text_.contains(at))
            throw std::runtime_error("a jump leaves the program");
        put({0x48, 0xc7, 0x04, 0x25}, low(&trace_target));
        const auto immediate = static_cast<uint32_t>(at);
        std::memcpy(out_, &immediate, sizeof immediate);
        out_ += sizeof immediate;
        put({0xff, 0x24, 0x25}, low(&entry(at)));
    }

    // Of the block at rax, which is saved, the copy's address; then rax is the code's again.
    void look_up_rax()
    {
        put({0x48, 0x8b, 0x04, 0xc5},
            static_cast<uint32_t>(reinterpret_cast<uint64_t>(table_) - 8 * text_.begin));
        put({0x48, 0x89, 0x04, 0x25}, low(&qal_trace_jump));
        restore();
    }

    void go_to_rax()
    {
        put({0x48, 0x89, 0x04, 0x25}, low(&trace_target));
        look_up_rax();
        put({0xff, 0x24, 0x25}, low(&qal_trace_jump));
    }

    Range text_;
    uint64_t *table_; // for each address in the text where to go for it
    uint8_t *out_;
    uint8_t *const out_end_;
    const uint8_t *after_call_; // where a routine of the C library is made to return to
};

Translator &translator()
{
    static Translator made;
    return made;
}

void call(void *function)
{
    (*static_cast<const std::function<void()> *>(function))();
}

// On the stack that every run has.
void enter(uint64_t code, const std::function<void()> &run)
{
    static auto *const bottom =
        static_cast<uint8_t *>(reserve(stack_bytes, PROT_READ | PROT_WRITE, 0));
    uint8_t *const stack = bottom + stack_bytes - 8;
    const auto exit = reinterpret_cast<uint64_t>(qal_trace_exit);
    std::memcpy(stack, &exit, sizeof exit);
    qal_trace_enter(std::bit_cast<const void *>(code), const_cast<std::function<void()> *>(&run),
                    stack);
}

} // namespace

Log::Log() : memory_(static_cast<uint64_t *>(reserve(log_bytes, PROT_READ | PROT_WRITE, 0)))
{
}

Log::~Log()
{
    munmap(memory_, log_bytes);
}

void Log::clear()
{
    size_ = 0;
}

Recorder::Recorder()
{
    translator();
}

Recorder &Recorder::instance()
{
    static Recorder made;
    return made;
}

void Recorder::record(Log &log, const std::function<void()> &run)
{
    Translator &t = translator();
    log.clear();
    t.failure = nullptr;
    trace_log = reinterpret_cast<uint64_t>(log.memory_);
    enter(t.translated(span_of_run().begin), run);
    log.size_ = static_cast<size_t>(std::bit_cast<uint64_t *>(trace_log) - log.memory_);
    if (t.failure)
        std::rethrow_exception(t.failure);
}

void Recorder::run_unrecorded(const std::function<void()> &run)
{
    enter(span_of_run().begin, run);
}

Range Recorder::span_of_run()
{
    return {reinterpret_cast<uint64_t>(call), reinterpret_cast<uint64_t>(qal_trace_exit)};
}

const Block &Recorder::block(uint64_t at) const
{
    return translator().blocks.at(at);
}

} // namespace qal::test

// For recorder.S. An exception cannot pass through the copied code.
uint64_t qal_trace_translate()
{
    auto &t = qal::test::translator();
    try {
        return t.translated(trace_target);
    } catch (...) {
        t.failure = std::current_exception();
        return reinterpret_cast<uint64_t>(qal_trace_exit);
    }
}
