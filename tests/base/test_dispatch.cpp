// What the resolvers choose on every processor that there could be, and that no routine and no
// variant is forgotten.
#include "base/dispatched.hpp"
#include "base/given_cpu.hpp"

#include <gtest/gtest.h>

#include <cxxabi.h>
#include <elf.h>
#include <errno.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>

using namespace qal::base;
using namespace qal::test;

uint32_t qal_given_cpu = 0;

namespace {

constexpr char prefix[] = "qal_resolve_";

// This program's symbols, which are the library's and the tests'.
struct Symbol {
    std::string name;
    unsigned char type;
    Elf64_Addr address;
};

std::vector<Symbol> symbols()
{
    std::ifstream file(program_invocation_name, std::ios::binary);
    const std::string image{std::istreambuf_iterator<char>(file), {}};
    const auto at = [&](auto &record, size_t offset) {
        std::memcpy(&record, image.substr(offset, sizeof record).data(), sizeof record);
    };
    Elf64_Ehdr header;
    at(header, 0);
    std::vector<Symbol> found;
    for (size_t i = 0; i < header.e_shnum; i++) {
        Elf64_Shdr section, strings;
        at(section, header.e_shoff + i * sizeof section);
        if (section.sh_type != SHT_SYMTAB)
            continue;
        at(strings, header.e_shoff + section.sh_link * sizeof strings);
        for (size_t offset = 0; offset < section.sh_size; offset += sizeof(Elf64_Sym)) {
            Elf64_Sym symbol;
            at(symbol, section.sh_offset + offset);
            const unsigned char type = ELF64_ST_TYPE(symbol.st_info);
            found.push_back({&image[strings.sh_offset + symbol.st_name], type, symbol.st_value});
        }
    }
    return found;
}

// The names of the indirect functions, by their resolvers: an indirect function's symbol has the
// resolver's address.
std::multiset<std::string> indirect_functions()
{
    std::map<Elf64_Addr, std::string> resolvers;
    std::multiset<Elf64_Addr> indirect;
    for (const Symbol &symbol : symbols()) {
        if (symbol.type == STT_GNU_IFUNC)
            indirect.insert(symbol.address);
        else if (symbol.name.rfind(prefix, 0) == 0)
            resolvers[symbol.address] = symbol.name.substr(std::strlen(prefix));
    }
    std::multiset<std::string> names;
    for (const Elf64_Addr address : indirect)
        names.insert(resolvers[address]);
    return names;
}

// The names of all functions, without scopes and parameters.
std::set<std::string> functions()
{
    std::set<std::string> names;
    for (const Symbol &symbol : symbols()) {
        if (symbol.type != STT_FUNC)
            continue;
        char *const plain = abi::__cxa_demangle(symbol.name.c_str(), nullptr, nullptr, nullptr);
        std::string name = plain != nullptr ? plain : symbol.name;
        std::free(plain);
        name = name.substr(0, name.find('('));
        names.insert(name.substr(name.rfind(':') + 1));
    }
    return names;
}

} // namespace

TEST(Dispatch, LooksAtEveryName)
{
    std::multiset<std::string> known;
    for (const Dispatched &name : dispatched_names())
        known.insert(name.name);
    EXPECT_EQ(known, indirect_functions());
}

TEST(Dispatch, ChoosesTheBestThatTheProcessorHas)
{
    const std::vector<Dispatched> names = dispatched_names();
    for (uint32_t features = 0; features < 2 * cpu_avx512; features++) {
        qal_given_cpu = features;
        for (const Dispatched &name : names)
            ASSERT_EQ(name.chosen(), name.best(features)) << name.name << " " << features;
    }
}

TEST(Dispatch, LooksAtEveryVariant)
{
    const std::set<std::string> built = functions();
    std::set<std::string> classes;
    for (const Dispatched &name : dispatched_names())
        for (const DispatchedVariant &variant : name.variants)
            classes.insert(variant.isa);
    for (const Dispatched &name : dispatched_names()) {
        std::set<std::string> listed, found;
        for (const DispatchedVariant &variant : name.variants)
            listed.insert(variant.isa);
        for (const std::string &isa : classes)
            if (built.count(name.name + ("_" + isa)) != 0)
                found.insert(isa);
        EXPECT_EQ(listed, found) << name.name;
    }
}

// No variant stands in a list behind one that serves every processor that it is for.
TEST(Dispatch, HasAProcessorForEveryVariant)
{
    for (const Dispatched &name : dispatched_names()) {
        std::set<Address> listed, chosen;
        for (const DispatchedVariant &variant : name.variants)
            listed.insert(variant.address);
        for (uint32_t features = 0; features < 2 * cpu_avx512; features++) {
            qal_given_cpu = features;
            if ((features & cpu_avx512) == 0 || has_bits(features, cpu_below_avx512))
                chosen.insert(name.chosen());
        }
        EXPECT_EQ(listed, chosen) << name.name;
    }
}
