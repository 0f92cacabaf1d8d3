#include "instruction.hpp"

#include <Zydis/Zydis.h>

#include <bit>
#include <stdexcept>

namespace qal::test {

namespace {

const ZydisDecoder &decoder()
{
    static const ZydisDecoder made = [] {
        ZydisDecoder d;
        ZydisDecoderInit(&d, ZYDIS_MACHINE_MODE_LONG_64, ZYDIS_STACK_WIDTH_64);
        return d;
    }();
    return made;
}

constexpr ZyanUSize longest = ZYDIS_MAX_INSTRUCTION_LENGTH;

[[noreturn]] void refuse(uint64_t at, const std::string &why)
{
    throw std::runtime_error(why + ": " + disassemble(at));
}

int general(ZydisRegister reg)
{
    return reg == ZYDIS_REGISTER_NONE ? -1 : ZydisRegisterGetId(reg);
}

bool is_stringy(ZydisMnemonic mnemonic)
{
    switch (mnemonic) {
    case ZYDIS_MNEMONIC_MOVSB:
    case ZYDIS_MNEMONIC_MOVSW:
    case ZYDIS_MNEMONIC_MOVSD:
    case ZYDIS_MNEMONIC_MOVSQ:
    case ZYDIS_MNEMONIC_STOSB:
    case ZYDIS_MNEMONIC_STOSW:
    case ZYDIS_MNEMONIC_STOSD:
    case ZYDIS_MNEMONIC_STOSQ:
        return true;
    default:
        return false;
    }
}

// Base, index and displacement of a memory operand, those relative to rip as what they come to.
Value sum_of(const ZydisDecodedInstruction &in, const ZydisDecodedOperand &operand, uint64_t at)
{
    const auto &mem = operand.mem;
    Value value{.kind = Value::Kind::address};
    if (mem.base == ZYDIS_REGISTER_RIP) {
        value.displacement =
            static_cast<int32_t>(at + in.length + static_cast<uint64_t>(mem.disp.value));
        return value;
    }
    value.base = general(mem.base);
    if (mem.type != ZYDIS_MEMOP_TYPE_VSIB)
        value.index = general(mem.index);
    value.scale = mem.scale > 1 ? __builtin_ctz(mem.scale) : 0;
    value.displacement = static_cast<int32_t>(mem.disp.value);
    return value;
}

Value vector_of(ZydisRegister reg, Value::Kind kind)
{
    const bool wide =
        ZydisRegisterGetClass(reg) == ZYDIS_REGCLASS_ZMM || ZydisRegisterGetId(reg) >= 16;
    return {.kind = kind,
            .source = Value::Source::vector,
            .number = ZydisRegisterGetId(reg),
            .words = wide ? size_t{8} : size_t{4},
            .wide = wide};
}

// The values of an ordinary operand in memory.
void add_access(std::vector<Value> &values, const ZydisDecodedInstruction &in,
                const ZydisDecodedOperand *operands, const ZydisDecodedOperand &operand,
                uint64_t at)
{
    if (operand.mem.base != ZYDIS_REGISTER_RIP)
        values.push_back(sum_of(in, operand, at));
    if (operand.mem.type == ZYDIS_MEMOP_TYPE_VSIB) {
        values.push_back(vector_of(operand.mem.index, Value::Kind::indices));
        if (in.encoding == ZYDIS_INSTRUCTION_ENCODING_VEX)
            values.push_back(vector_of(operands[2].reg.value, Value::Kind::lanes));
    }
    if (in.avx.mask.reg != ZYDIS_REGISTER_NONE && in.avx.mask.reg != ZYDIS_REGISTER_K0)
        values.push_back({.kind = Value::Kind::lanes,
                          .source = Value::Source::mask,
                          .number = ZydisRegisterGetId(in.avx.mask.reg)});
}

void add_division(std::vector<Value> &values, const ZydisDecodedInstruction &in,
                  const ZydisDecodedOperand &divisor, uint64_t at)
{
    constexpr int rax = 0, rdx = 2;
    const Value::Kind kind = Value::Kind::dividend;
    values.push_back({.kind = kind, .base = rax});
    values.push_back({.kind = kind, .base = rdx});
    if (divisor.type == ZYDIS_OPERAND_TYPE_MEMORY) {
        Value word = sum_of(in, divisor, at);
        word.kind = kind;
        word.source = Value::Source::word;
        values.push_back(word);
    } else {
        values.push_back({.kind = kind, .base = ZydisRegisterGetId(divisor.reg.value)});
    }
}

} // namespace

const char *name_of(Value::Kind kind)
{
    switch (kind) {
    case Value::Kind::address:
        return "address";
    case Value::Kind::count:
        return "number of repetitions";
    case Value::Kind::lanes:
        return "set of lanes in memory";
    case Value::Kind::indices:
        return "indices";
    case Value::Kind::dividend:
        return "operand of a division";
    case Value::Kind::argument:
        return "argument of a routine of the C library";
    }
    return "";
}

Instruction decode(uint64_t at)
{
    Instruction result;
    result.at = at;
    result.bytes = std::bit_cast<const uint8_t *>(at);
    ZydisDecodedInstruction in;
    ZydisDecodedOperand operands[ZYDIS_MAX_OPERAND_COUNT];
    if (!ZYAN_SUCCESS(ZydisDecoderDecodeFull(&decoder(), result.bytes, longest, &in, operands)))
        throw std::runtime_error("no instruction is known at " + std::to_string(at));
    result.length = in.length;

    const ZydisMnemonic mnemonic = in.mnemonic;
    if (mnemonic == ZYDIS_MNEMONIC_NOP || mnemonic == ZYDIS_MNEMONIC_ENDBR64)
        return result;
    if (in.attributes & ZYDIS_ATTRIB_HAS_ADDRESSSIZE)
        refuse(at, "an address of 32 bits");

    using Flow = Instruction::Flow;
    switch (in.meta.category) {
    case ZYDIS_CATEGORY_SYSCALL:
    case ZYDIS_CATEGORY_SYSTEM:
    case ZYDIS_CATEGORY_INTERRUPT:
    case ZYDIS_CATEGORY_IO:
    case ZYDIS_CATEGORY_X87_ALU:
    case ZYDIS_CATEGORY_XSAVE:
    case ZYDIS_CATEGORY_XSAVEOPT:
        refuse(at, "an instruction that no arithmetic needs");
    case ZYDIS_CATEGORY_STRINGOP:
        if (!is_stringy(mnemonic))
            refuse(at, "a search for bytes");
        break;
    default:
        break;
    }
    switch (mnemonic) {
    case ZYDIS_MNEMONIC_VPMASKMOVD:
    case ZYDIS_MNEMONIC_VPMASKMOVQ:
    case ZYDIS_MNEMONIC_VMASKMOVPS:
    case ZYDIS_MNEMONIC_VMASKMOVPD:
    case ZYDIS_MNEMONIC_MASKMOVQ:
    case ZYDIS_MNEMONIC_MASKMOVDQU:
        for (int i = 0; i < 3; i++)
            if (operands[i].type == ZYDIS_OPERAND_TYPE_REGISTER &&
                !(operands[i].actions & ZYDIS_OPERAND_ACTION_MASK_WRITE)) {
                result.values.push_back(vector_of(operands[i].reg.value, Value::Kind::lanes));
                break;
            }
        break;
    case ZYDIS_MNEMONIC_DIV:
    case ZYDIS_MNEMONIC_IDIV:
        add_division(result.values, in, operands[0], at);
        break;
    default:
        break;
    }

    for (size_t i = 0; i < in.operand_count; i++) {
        const ZydisDecodedOperand &operand = operands[i];
        if (operand.type == ZYDIS_OPERAND_TYPE_MEMORY && operand.mem.type != ZYDIS_MEMOP_TYPE_AGEN)
            add_access(result.values, in, operands, operand, at);
    }
    if (in.attributes & (ZYDIS_ATTRIB_HAS_REP | ZYDIS_ATTRIB_HAS_REPE | ZYDIS_ATTRIB_HAS_REPNE)) {
        constexpr int rcx = 1;
        result.values.push_back({.kind = Value::Kind::count, .base = rcx});
    }
    if ((in.attributes & ZYDIS_ATTRIB_IS_RELATIVE) && in.raw.disp.size == 32)
        result.relative_at = in.raw.disp.offset;

    const ZydisDecodedOperand &first = operands[0];
    const bool direct = first.type == ZYDIS_OPERAND_TYPE_IMMEDIATE;
    const auto indirect = [&] {
        Value where{.kind = Value::Kind::address};
        if (first.type == ZYDIS_OPERAND_TYPE_MEMORY) {
            where = sum_of(in, first, at);
            where.source = Value::Source::word;
        } else {
            where.base = general(first.reg.value);
        }
        return where;
    };
    if (direct && in.meta.branch_type != ZYDIS_BRANCH_TYPE_NONE)
        ZydisCalcAbsoluteAddress(&in, &first, at, &result.target);
    switch (in.meta.category) {
    case ZYDIS_CATEGORY_COND_BR:
        result.flow = Flow::branch;
        break;
    case ZYDIS_CATEGORY_UNCOND_BR:
        result.flow = direct ? Flow::jump : Flow::indirect_jump;
        if (!direct)
            result.destination = indirect();
        break;
    case ZYDIS_CATEGORY_CALL:
        result.flow = direct ? Flow::call : Flow::indirect_call;
        if (!direct)
            result.destination = indirect();
        break;
    case ZYDIS_CATEGORY_RET:
        result.flow = Flow::leave;
        result.dropped = direct ? static_cast<int32_t>(first.imm.value.u) : 0;
        break;
    default:
        break;
    }
    return result;
}

std::string disassemble(uint64_t at)
{
    ZydisFormatter formatter;
    ZydisFormatterInit(&formatter, ZYDIS_FORMATTER_STYLE_INTEL);
    ZydisDecodedInstruction in;
    ZydisDecodedOperand operands[ZYDIS_MAX_OPERAND_COUNT];
    char text[256];
    if (!ZYAN_SUCCESS(ZydisDecoderDecodeFull(&decoder(), std::bit_cast<const void *>(at), longest,
                                             &in, operands)) ||
        !ZYAN_SUCCESS(ZydisFormatterFormatInstruction(
            &formatter, &in, operands, in.operand_count_visible, text, sizeof text, at, nullptr)))
        return "?";
    return text;
}

} // namespace qal::test
