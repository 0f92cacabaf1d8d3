// Key generation, signing and key agreement on a curve over each of the engine's two kinds of
// field.
#include "subjects.hpp"

#include "support/numbers.hpp"
#include "support/vectors.hpp"

#include <qal/vko341001.h>

#include <algorithm>
#include <memory>

namespace qal::test {

namespace {

struct Memory {
    rds_ctx ctx;
    uint8_t d[32], k[32], digest[32], out[64], peer[64], ukm[8];
};

Bytes bytes_of(const mpz_class &value)
{
    Bytes bytes(32);
    const size_t size = (mpz_sizeinbase(value.get_mpz_t(), 2) + 7) / 8;
    mpz_export(bytes.data() + 32 - size, nullptr, 1, 1, 1, 0, value.get_mpz_t());
    return bytes;
}

mpz_class number_of(const Bytes &bytes)
{
    mpz_class value;
    mpz_import(value.get_mpz_t(), bytes.size(), 1, 1, 1, 0, bytes.data());
    return value;
}

// From 1 to q - 1
std::vector<Input> scalars(const mpz_class &q, size_t random_inputs)
{
    std::vector<Input> list;
    const auto add = [&](const std::string &name, const mpz_class &value) {
        list.push_back({name, {bytes_of(value)}});
    };
    for (unsigned i = 1; i <= 3; i++) {
        add(std::to_string(i), i);
        add("q - " + std::to_string(i), q - i);
    }
    add("16", 16);
    add("(q - 1) / 2", (q - 1) / 2);
    add("(q + 1) / 2", (q + 1) / 2);
    add("255 ones", (mpz_class(1) << 255) - 1);
    add("one bit, 254", mpz_class(1) << 254);
    add("one bit, 128", mpz_class(1) << 128);
    add("128 ones", (mpz_class(1) << 128) - 1);
    add("leading zero bytes", q >> 100);
    add("trailing zero bytes", (q >> 101) << 100);
    Random random;
    for (size_t i = 0; i < 4; i++)
        add("runs " + std::to_string(i), number_of(random.runs(32)) % (q - 1) + 1);
    for (size_t i = 0; i < random_inputs; i++)
        add("random " + std::to_string(i), number_of(random.bytes(32)) % (q - 1) + 1);
    return list;
}

// With another value behind each.
std::vector<Input> with(std::vector<Input> inputs, const Bytes &value)
{
    for (Input &input : inputs)
        input.values.push_back(value);
    return inputs;
}

void add_curve(std::vector<Subject> &subjects, Vector &vector, size_t random_inputs)
{
    const auto number = [&](const char *name) { return vector.bytes(name); };
    const std::string name = vector.text("Name");
    const Bytes p = number("P"), a = number("A"), b = number("B"), order = number("Q"),
                x = number("X"), y = number("Y");
    if (name != "gost-test" && name != "cryptopro-a" && name != "cryptopro-c")
        return;
    const auto m = std::make_shared<Memory>();
    Random random;
    const mpz_class q = number_of(order);
    const Bytes usual = bytes_of(number_of(random.bytes(32)) % q);
    if (rds_init(&m->ctx, p.data(), a.data(), b.data(), order.data(), x.data(), y.data()) != 0 ||
        rds_gen_keys(&m->ctx, usual.data(), m->peer) != 0)
        throw std::runtime_error("no curve " + name);
    std::ranges::copy(random.bytes(8), m->ukm);

    const std::vector<Input> secrets = scalars(q, random_inputs);
    const auto key = [m](const Input &input) { std::ranges::copy(input.values[0], m->d); };
    subjects.push_back({"rds_gen_keys", name, every_class, secrets, key,
                        [m] { return rds_gen_keys(&m->ctx, m->d, m->out); }});
    subjects.push_back({"vko341001_gen_pubkey", name, every_class, secrets, key,
                        [m] { return vko341001_gen_pubkey(&m->ctx, m->d, m->out); }});
    // Here a private key must be below p.
    std::vector<Input> below_p = secrets;
    std::erase_if(below_p, [&](const Input &input) { return input.values[0] >= p; });
    subjects.push_back({"vko341001_gen_kek", name, every_class, below_p, key,
                        [m] { return vko341001_gen_kek(&m->ctx, m->out, m->d, m->peer, m->ukm); }});
    const auto sign = [m] { return rds_sign(&m->ctx, m->d, m->k, m->digest, m->out); };
    subjects.push_back({"rds_sign", name + ", private keys", every_class, with(secrets, usual),
                        [m](const Input &input) {
                            std::ranges::copy(input.values[0], m->d);
                            std::ranges::copy(input.values[1], m->k);
                            std::ranges::fill(m->digest, uint8_t{0x5a});
                        },
                        sign});
    const auto nonce = [m](const Input &input) {
        std::ranges::copy(input.values[0], m->k);
        std::ranges::copy(input.values[1], m->d);
        std::ranges::fill(m->digest, uint8_t{0x5a});
    };
    // A nonce for which r is zero is refused: 1 and q - 1 for a base point with x = 0.
    std::vector<Input> nonces = with(secrets, usual);
    std::erase_if(nonces, [&](const Input &input) {
        nonce(input);
        return sign() != 0;
    });
    subjects.push_back({"rds_sign", name + ", nonces", every_class, nonces, nonce, sign});
    std::vector<Input> digests = texts(32, random_inputs);
    digests.push_back({"q", {order}});
    subjects.push_back({"rds_sign", name + ", digests", every_class, with(digests, usual),
                        [m](const Input &input) {
                            std::ranges::copy(input.values[0], m->digest);
                            std::ranges::copy(input.values[1], m->k);
                            std::ranges::copy(input.values[1], m->d);
                        },
                        sign});
}

} // namespace

void add_prime_curves(std::vector<Subject> &subjects, size_t random_inputs)
{
    VectorFile("gost3410/curves.vec").each("curve", [&](Vector &vector) {
        add_curve(subjects, vector, random_inputs);
    });
}

} // namespace qal::test
