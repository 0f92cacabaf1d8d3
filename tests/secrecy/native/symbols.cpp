#include "symbols.hpp"

#include <cxxabi.h>
#include <elf.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace qal::test {

namespace {

std::string readable(const char *name)
{
    int status = -1;
    const std::unique_ptr<char, void (*)(void *)> made(
        abi::__cxa_demangle(name, nullptr, nullptr, &status), std::free);
    if (status != 0)
        return name;
    // Without what stands in brackets, which takes up most of a line.
    std::string text;
    int depth = 0;
    for (const char *at = made.get(); *at != 0; at++) {
        static constexpr std::string_view unnamed = "(anonymous namespace)::";
        if (std::string_view(at).starts_with(unnamed)) {
            at += unnamed.size() - 1;
            continue;
        }
        depth += *at == '<' || *at == '(' ? 1 : 0;
        if (depth == 0)
            text += *at;
        depth -= *at == '>' || *at == ')' ? 1 : 0;
    }
    // What a function is and whether it is a compiler's clone stands behind the name; a template
    // has its result in front of it.
    text = text.substr(0, text.find(" ["));
    constexpr std::string_view constant = " const";
    if (text.ends_with(constant))
        text.resize(text.size() - constant.size());
    const size_t space = text.find(' ');
    return space == std::string::npos ? text : text.substr(space + 1);
}

class Program {
public:
    Program()
    {
        std::ifstream in("/proc/self/exe", std::ios::binary);
        file_.assign(std::istreambuf_iterator<char>(in), {});
        const auto header = read<Elf64_Ehdr>(0);
        for (size_t i = 0; i < header.e_phnum; i++) {
            const auto segment = read<Elf64_Phdr>(header.e_phoff + i * sizeof(Elf64_Phdr));
            if (segment.p_type == PT_LOAD && (segment.p_flags & PF_X))
                text = {segment.p_vaddr, segment.p_vaddr + segment.p_memsz};
        }
        if (header.e_type != ET_EXEC || text.end > uint64_t{1} << 31)
            throw std::runtime_error("this program has no fixed address below 2 GiB");
        for (size_t i = 0; i < header.e_shnum; i++) {
            const auto section = read<Elf64_Shdr>(header.e_shoff + i * sizeof(Elf64_Shdr));
            const auto names = [&] {
                const auto table =
                    read<Elf64_Shdr>(header.e_shoff + section.sh_link * sizeof section);
                return table;
            };
            if (section.sh_type == SHT_SYMTAB)
                read_functions(section, names());
            if (section.sh_type == SHT_RELA && section.sh_link != 0)
                read_imports(section, names(), header);
        }
    }

    Range text;
    std::map<uint64_t, Function> functions;
    std::map<uint64_t, std::string> imports;

private:
    template<typename T>
    T read(uint64_t offset) const
    {
        T value;
        if (offset + sizeof value > file_.size())
            throw std::runtime_error("the program's file is damaged");
        std::memcpy(&value, file_.data() + offset, sizeof value);
        return value;
    }

    void read_functions(const Elf64_Shdr &symbols, const Elf64_Shdr &names)
    {
        for (uint64_t at = 0; at < symbols.sh_size; at += sizeof(Elf64_Sym)) {
            const auto symbol = read<Elf64_Sym>(symbols.sh_offset + at);
            const auto type = ELF64_ST_TYPE(symbol.st_info);
            if (type == STT_FUNC && symbol.st_size != 0)
                functions[symbol.st_value] = {
                    readable(file_.data() + names.sh_offset + symbol.st_name),
                    {symbol.st_value, symbol.st_value + symbol.st_size}};
        }
    }

    void read_imports(const Elf64_Shdr &relocations, const Elf64_Shdr &symbols,
                      const Elf64_Ehdr &header)
    {
        const auto names = read<Elf64_Shdr>(header.e_shoff + symbols.sh_link * sizeof(Elf64_Shdr));
        for (uint64_t at = 0; at < relocations.sh_size; at += sizeof(Elf64_Rela)) {
            const auto relocation = read<Elf64_Rela>(relocations.sh_offset + at);
            const auto index = ELF64_R_SYM(relocation.r_info);
            if (index == 0)
                continue;
            const auto symbol = read<Elf64_Sym>(symbols.sh_offset + index * sizeof(Elf64_Sym));
            imports[relocation.r_offset] = file_.data() + names.sh_offset + symbol.st_name;
        }
    }

    std::vector<char> file_;
};

const Program &program()
{
    static const Program read;
    return read;
}

} // namespace

Range program_text()
{
    return program().text;
}

Function function_at(uint64_t at)
{
    const auto &functions = program().functions;
    auto next = functions.upper_bound(at);
    if (next != functions.begin() && (--next)->second.range.contains(at))
        return next->second;
    return {"(no function)", {at, at + 1}};
}

std::string imported_at(uint64_t word)
{
    const auto found = program().imports.find(word);
    return found == program().imports.end() ? std::string() : found->second;
}

} // namespace qal::test
