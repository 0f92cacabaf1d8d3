#include "dstu_domains.hpp"

#include "hex.hpp"

#include <algorithm>
#include <stdexcept>

namespace qal::tool {

namespace {

// DSTU 4145-2002, appendix G.1. The base points are compressed.
constexpr DstuDomain known[] = {
    {"m163",
     {163, 7, 6, 3},
     1,
     2,
     "5ff6108462a2dc8210ab403925e638a19c1455d21",
     "2e2f85f5dd74ce983a5c4237229daf8a3f35823be",
     "400000000000000000002bec12be2262d39bcf14d"},
    {"m191",
     {191, 9, 0, 0},
     1,
     2,
     "7bc86e2102902ec4d5890e8b6b4981ff27e0482750fefc03",
     "714114b762f2ff4a7912a6d2ac58b9b5c2fcfe76daeb7128",
     "40000000000000000000000069a779cac1dabc6788f7474f"},
    {"m257",
     {257, 12, 0, 0},
     0,
     4,
     "1cef494720115657e18f938d7a7942394ff9425c1458c57861f9eea6adbe3be10",
     "2a29ef207d0e9b6c55cd260b306c7e007ac491ca1b10c62334a9e8dcd8d20fb6",
     "800000000000000000000000000000006759213af182e987d3e17714907d470d"},
    {"m431",
     {431, 5, 3, 1},
     1,
     2,
     "3ce10490f6a708fc26dfe8c3d27c4f94e690134d5bff988d8d28aaeaede975936c66ba"
     "c536b18ae2dc312ca493117daa469c640caf3",
     "1a62ba79d98133a16bbae7ed9a8e03c32e0824d57aef72f88986874e5aae49c27bed49"
     "a2a95058068426c2171e99fd3b43c5947c857c",
     "3fffffffffffffffffffffffffffffffffffffffffffffffffffffba3175458009a8c0"
     "a724f02f81aa8a1fcbaf80d90c7a95110504cf"},
};

// A number of hexadecimal digits as bytes, least significant first.
Bytes number(std::string_view digits)
{
    std::string pairs(digits.size() % 2, '0');
    Bytes bytes = from_hex(pairs.append(digits)).value();
    std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

} // namespace

std::span<const DstuDomain> dstu_domains()
{
    return known;
}

const DstuDomain &dstu_domain(std::string_view name)
{
    for (const DstuDomain &domain : known)
        if (domain.name == name)
            return domain;
    throw std::invalid_argument("no curve " + std::string(name));
}

void set_up(dstu_ctx &ctx, const DstuDomain &domain)
{
    const Bytes b = number(domain.b), G = number(domain.G), n = number(domain.n);
    const uint32_t *const f = domain.field;
    if (dstu_init_curve(&ctx, f[0], f[1], f[2], f[3], domain.a, b.data(),
                        static_cast<int32_t>(b.size())) != 0 ||
        dstu_init_pgen(&ctx, static_cast<int32_t>(G.size()), G.data(),
                       static_cast<int32_t>(n.size()), n.data()) != 0)
        throw std::logic_error("a domain is refused");
    ctx.cofactor = domain.cofactor;
}

} // namespace qal::tool
