// What the resolvers choose on every processor that there could be, and that none is forgotten.
#include "base/dispatched.hpp"
#include "base/given_cpu.hpp"

#include <gtest/gtest.h>

#include <elf.h>
#include <errno.h>

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

// The names of this program's indirect functions, by their resolvers: an indirect function's symbol
// has the resolver's address.
std::multiset<std::string> indirect_functions()
{
    std::ifstream file(program_invocation_name, std::ios::binary);
    const std::string image{std::istreambuf_iterator<char>(file), {}};
    const auto at = [&](auto &record, size_t offset) {
        std::memcpy(&record, image.substr(offset, sizeof record).data(), sizeof record);
    };
    Elf64_Ehdr header;
    at(header, 0);
    std::map<Elf64_Addr, std::string> resolvers;
    std::multiset<Elf64_Addr> indirect;
    for (size_t i = 0; i < header.e_shnum; i++) {
        Elf64_Shdr section, strings;
        at(section, header.e_shoff + i * sizeof section);
        if (section.sh_type != SHT_SYMTAB)
            continue;
        at(strings, header.e_shoff + section.sh_link * sizeof strings);
        for (size_t offset = 0; offset < section.sh_size; offset += sizeof(Elf64_Sym)) {
            Elf64_Sym symbol;
            at(symbol, section.sh_offset + offset);
            const std::string name = &image[strings.sh_offset + symbol.st_name];
            if (ELF64_ST_TYPE(symbol.st_info) == STT_GNU_IFUNC)
                indirect.insert(symbol.st_value);
            else if (name.rfind(prefix, 0) == 0)
                resolvers[symbol.st_value] = name.substr(std::strlen(prefix));
        }
    }
    std::multiset<std::string> names;
    for (const Elf64_Addr address : indirect)
        names.insert(resolvers[address]);
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
