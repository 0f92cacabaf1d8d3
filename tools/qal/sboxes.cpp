#include "sboxes.hpp"

#include <qal/g28147.h>

#include <array>
#include <stdexcept>

namespace qal::tool {

namespace {

// Rows K1, which acts on the least significant bits, to K8: the images of 0 to F. RFC 4357, section
// 11.2; the last is that of RFC 7836, appendix C.
struct Set {
    const char *name;
    const char *rows[8];
};

constexpr Set sets[] = {
    {"cryptopro-a", // id-Gost28147-89-CryptoPro-A-ParamSet
     {"96328B17A4EFC0D5", "37E98AF0526CB4D1", "E462B3D8CF5A0719", "E7ACD13902B4F856",
      "B5198DF0E423C7A6", "3ADC120B75948FE6", "1D297A608C45F3BE", "BAF50CE8623917D4"}},
    {"cryptopro-b", // id-Gost28147-89-CryptoPro-B-ParamSet
     {"84B135092EACD67F", "012A4D5C973FB86E", "EC0A92DB758F3614", "750DB6123ACF4E98",
      "27CF95AB140D68E3", "83264DEBC17FA095", "52AB91C374D06F8E", "04BE8371A296FD5C"}},
    {"cryptopro-c", // id-Gost28147-89-CryptoPro-C-ParamSet
     {"1BC29D0F458EA763", "017DB4528EFC9A63", "825049FA37CD6E1B", "36015DA8B297EFC4",
      "8DB0451293CE6FA7", "C9B18E247365A0FD", "A968DE20F35B41C7", "7405A2FEC61BD938"}},
    {"cryptopro-d", // id-Gost28147-89-CryptoPro-D-ParamSet
     {"FC2A645079ED1B83", "B634CFE27D805A91", "1CB0FE65AD489372", "15ECA70D62B493F8",
      "0C89D2AB73654EF1", "80F325EB1A47C9D6", "306F1E92D8C4BA57", "1A68FB04C3597D2E"}},
    {"test-89", // id-Gost28147-89-TestParamSet
     {"42F59108E3BCD7A6", "C9FE813A274D60B5", "D8EC739A15246F0B", "E9B25F710DC6A438",
      "3E59680DAB7C21F4", "8F6B19C5D37A0E24", "9BC0367548EF1A2D", "C652B09D3E7AF418"}},
    {"tc26-z", // id-tc26-gost-28147-param-Z
     {"C462A5B9E8D703F1", "68239A5C1E47BD0F", "B3582FADE174C960", "C821D4F670A53E9B",
      "7F5A816D093EB42C", "5DF692CAB78143E0", "8E25691CF4B0DA37", "17ED05834FA69CB2"}},
};

uint8_t value_of(char digit)
{
    return static_cast<uint8_t>(digit <= '9' ? digit - '0' : digit - 'A' + 10);
}

} // namespace

std::vector<std::string> sbox_names()
{
    std::vector<std::string> names;
    for (const Set &set : sets)
        names.emplace_back(set.name);
    return names;
}

const uint32_t *expanded_sbox(const std::string &name)
{
    static std::array<uint32_t, 1024> table;
    for (const Set &set : sets) {
        if (set.name != name)
            continue;
        std::array<uint8_t, 128> sbox;
        for (size_t x = 0; x < 16; x++)
            for (size_t k = 0; k < 8; k++)
                sbox[8 * x + k] = value_of(set.rows[7 - k][x]);
        return g28147_make_kext(table.data(), sbox.data());
    }
    throw std::invalid_argument("no S-box is called " + name);
}

} // namespace qal::tool
