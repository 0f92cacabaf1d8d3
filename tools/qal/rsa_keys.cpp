#include "rsa_keys.hpp"

#include "der_numbers.hpp"
#include "errors.hpp"
#include "files.hpp"
#include "pem.hpp"
#include "randomness.hpp"

#include <string.h>

#include <algorithm>
#include <stdexcept>

namespace qal::tool {

namespace {

constexpr char private_label[] = "RSA PRIVATE KEY", public_label[] = "RSA PUBLIC KEY";
constexpr uint64_t public_exponent = 65537;

// Room for products of two primes, and for what a division leaves.
using Number = std::array<qald, QALBIG_SIZE>;

// Numbers that come from a private key.
template<size_t count>
struct Numbers {
    SecretRecord<std::array<Number, count>> number;

    qald *operator[](size_t i) { return (*number)[i].data(); }
};

Secret read_file(const std::string &name)
{
    // Larger than any key, in either format and with text before it.
    Secret room(size_t{1} << 16);
    Input input(name);
    size_t size = 0;
    while (const size_t n = input.read(room.data() + size, room.size() - size)) {
        size += n;
        if (size == room.size())
            throw std::runtime_error(quote(name) + ": too long for a key");
    }
    Secret contents(size);
    std::copy(room.data(), room.data() + size, contents.data());
    return contents;
}

void write_file(const std::string &name, const uint8_t *data, size_t size,
                Access access = Access::usual, Existing existing = Existing::replaced)
{
    Output output(name, access, existing);
    output.write(data, size);
    output.commit();
}

Secret to_secret(const qald *x)
{
    Secret bytes(qalbitlen(x, 8));
    qaltobase256(bytes.data(), static_cast<uint32_t>(bytes.size()), x);
    return bytes;
}

std::string_view text_of(const Secret &contents)
{
    return {reinterpret_cast<const char *>(contents.data()), contents.size()};
}

// The numbers of a key file: of PEM with the given label, or as many parameters of the library.
std::vector<Secret> read_numbers(const std::string &name, const char *label, size_t parameters,
                                 bool pem)
{
    const Secret contents = read_file(name);
    if (const auto found = pem_label(text_of(contents))) {
        if (*found != label)
            throw std::runtime_error(quote(name) + ": PEM of a " + *found + ", not of an " + label);
        const auto der = from_pem(text_of(contents), label);
        auto numbers = der ? from_der(*der) : std::nullopt;
        if (!numbers)
            throw std::runtime_error(quote(name) + ": not a well-formed " + std::string(label));
        return std::move(*numbers);
    }
    if (pem)
        throw std::runtime_error(quote(name) + ": not PEM");
    std::vector<Secret> numbers;
    size_t at = 0;
    while (numbers.size() < parameters && contents.size() - at >= 2) {
        const uint8_t *parameter = contents.data() + at;
        const size_t size = static_cast<size_t>(parameter[0]) << 8 | parameter[1];
        if (contents.size() - at - 2 < size)
            break;
        std::copy(parameter + 2, parameter + 2 + size, numbers.emplace_back(size).data());
        at += 2 + size;
    }
    if (numbers.size() != parameters || at != contents.size())
        throw std::runtime_error(quote(name) + ": not a key");
    return numbers;
}

// x = a number of at most so many bytes; whether it has no more.
bool set(qald *x, const Secret &number, size_t most)
{
    if (number.size() > most)
        return false;
    qalfrombase256(x, number.data(), static_cast<uint32_t>(number.size()));
    return true;
}

// Whether a b = 1 modulo m.
bool are_inverse(const qald *a, const qald *b, const qald *m)
{
    Numbers<1> product;
    qalmul(a, b, product[0]);
    qaldiv(product[0], m, nullptr, product[0]);
    return qalcmp(product[0], QALBIG_ONE) == 0;
}

// Whether x is the least inverse of the public exponent modulo p - 1.
bool is_exponent_for(const qald *x, const qald *p)
{
    Numbers<2> number;
    qald *const order = qalsub(qalcopy(number[0], p), QALBIG_ONE);
    return qalcmp(x, order) < 0 && are_inverse(x, qalconvert(number[1], public_exponent), order);
}

} // namespace

RsaPublicKey::RsaPublicKey(const rsa_keygen_ctx &key) : bytes_(key.bits / 8 + 7)
{
    if (rsa_get_pubkey(&key, bytes_.data(), static_cast<uint32_t>(bytes_.size())) != 0)
        throw std::logic_error("rsa_get_pubkey failed");
}

RsaPublicKey::RsaPublicKey(const std::string &file, bool pem)
{
    const std::vector<Secret> numbers = read_numbers(file, public_label, 2, pem);
    Number n, e;
    if (numbers.size() != 2 || !set(n.data(), numbers[0], 256) || !set(e.data(), numbers[1], 256))
        throw std::runtime_error(quote(file) + ": not a public key");
    if (n[0] == 0 || n[1] % 2 == 0 ||
        rsa_is_prermitted_modsize(static_cast<uint32_t>(8 * qalbitlen(n.data(), 8))) == 0)
        throw std::runtime_error(quote(file) + ": not a modulus of 512, 1024, 1536 or 2048 bits");
    if (e[0] != 1 || e[1] != public_exponent)
        throw std::runtime_error(quote(file) + ": the public exponent is not " +
                                 std::to_string(public_exponent));
    bytes_.resize(2 * (2 + 256));
    const uint32_t size = save_rsa_key_prm(bytes_.data(), n.data());
    bytes_.resize(size + save_rsa_key_prm(bytes_.data() + size, e.data()));
}

size_t RsaPublicKey::modulus_size() const
{
    return static_cast<size_t>(bytes_[0]) << 8 | bytes_[1];
}

bool RsaPublicKey::is_above(const uint8_t *message) const
{
    return memcmp(message, bytes_.data() + 2, modulus_size()) < 0;
}

void RsaPublicKey::write(const std::string &file, KeyFormat format) const
{
    if (format == KeyFormat::library) {
        write_file(file, bytes_.data(), bytes_.size());
        return;
    }
    std::vector<Secret> numbers;
    for (size_t at = 0; at < bytes_.size();) {
        Number x;
        at += load_rsa_key_prm(x.data(), bytes_.data() + at);
        numbers.push_back(to_secret(x.data()));
    }
    const Secret text = to_pem(to_der(numbers), public_label);
    write_file(file, text.data(), text.size());
}

RsaPrivateKey::RsaPrivateKey(uint32_t bits)
{
    const StackCleaner cleaner;
    rsa_gen_rnd = system_random;
    if (rsa_keygen_init(key_.get(), bits) != 0)
        throw std::logic_error("rsa_keygen_init failed");
    Secret random(bits / 16);
    int status;
    do {
        system_random(random.data(), static_cast<uint32_t>(random.size()));
        // The modulus is to have all its bits: each prime is to be above 3/4 of the next power of
        // two.
        random.data()[0] |= 0xc0;
        status = rsa_keygen(key_.get(), random.data(), static_cast<uint32_t>(random.size()));
    } while (status == 3);
    if (status != 0)
        throw std::logic_error("rsa_keygen failed");
}

RsaPrivateKey::RsaPrivateKey(const std::string &file, bool pem)
{
    const StackCleaner cleaner;
    rsa_gen_rnd = system_random; // for the bases of the tests of the primes
    const std::vector<Secret> numbers = read_numbers(file, private_label, 5, pem);
    Numbers<5> x;
    // In PEM the version, n, e and d stand before p.
    const bool whole = numbers.size() != 5;
    const size_t first = whole ? 4 : 0;
    if (numbers.size() != first + 5)
        throw std::runtime_error(quote(file) + ": not a private key");
    for (size_t i = 0; i < 5; i++) {
        if (!set(x[i], numbers[first + i], 128) || x[i][0] == 0)
            throw std::runtime_error(quote(file) + ": not a private key of at most 2048 bits");
    }
    qald *const parts[] = {key_->p, key_->q, key_->dP, key_->dQ, key_->qInv};
    for (size_t i = 0; i < 5; i++)
        qalcopy(parts[i], x[i]);
    check(file);
    if (whole) {
        enum { product, n, e, d, count };
        Numbers<count> y;
        qalmul(key_->p, key_->q, y[product]);
        if (numbers[0].size() != 0 || !set(y[n], numbers[1], 256) || !set(y[e], numbers[2], 256) ||
            !set(y[d], numbers[3], 256) || qalcmp(y[product], y[n]) != 0)
            throw std::runtime_error(quote(file) + ": the numbers of the key do not fit together");
        if (y[e][0] != 1 || y[e][1] != public_exponent)
            throw std::runtime_error(quote(file) + ": the public exponent is not " +
                                     std::to_string(public_exponent));
        for (const qald *prime : {key_->p, key_->q}) {
            qald *const order = qalsub(qalcopy(y[product], prime), QALBIG_ONE);
            if (!are_inverse(y[d], y[e], order))
                throw std::runtime_error(quote(file) +
                                         ": the numbers of the key do not fit together");
        }
    }
}

// Primes of one length, whose product has a permitted one, and exponents and inverse that belong to
// them: of any other key the results may tell the factors. Time depends on the numbers here. It is
// taken once for a key, whenever it is read, and no attacker chooses anything of it.
void RsaPrivateKey::check(const std::string &file)
{
    const uint64_t bits = qalbitlen(key_->p, 1);
    key_->bits = static_cast<uint32_t>(2 * bits);
    if (rsa_is_prermitted_modsize(key_->bits) == 0 || qalbitlen(key_->q, 1) != bits)
        throw std::runtime_error(quote(file) +
                                 ": not a key of 512, 1024, 1536 or 2048 bits with two "
                                 "primes of the same length");
    for (const qald *prime : {key_->p, key_->q}) {
        if (prime[1] % 2 == 0)
            throw std::runtime_error(quote(file) + ": a prime of the key is even");
        if (isPrime(prime) == 0)
            throw std::runtime_error(quote(file) + ": a prime of the key is not prime");
    }
    if (!is_exponent_for(key_->dP, key_->p) || !is_exponent_for(key_->dQ, key_->q) ||
        qalcmp(key_->qInv, key_->p) >= 0 || !are_inverse(key_->qInv, key_->q, key_->p))
        throw std::runtime_error(quote(file) + ": the numbers of the key do not fit together");
}

Secret RsaPrivateKey::bytes() const
{
    Secret room(5 * (key_->bits / 16) + 10);
    if (rsa_get_privkey(key_.get(), room.data(), static_cast<uint32_t>(room.size())) != 0)
        throw std::logic_error("rsa_get_privkey failed");
    size_t size = 0;
    for (int i = 0; i < 5; i++)
        size += 2 + (static_cast<size_t>(room.data()[size]) << 8 | room.data()[size + 1]);
    Secret bytes(size);
    std::copy(room.data(), room.data() + size, bytes.data());
    return bytes;
}

void RsaPrivateKey::write(const std::string &file, KeyFormat format, Existing existing) const
{
    const Secret contents = format == KeyFormat::library ? bytes() : pem();
    write_file(file, contents.data(), contents.size(), Access::owner, existing);
}

Secret RsaPrivateKey::pem() const
{
    const StackCleaner cleaner;
    // n and d = 1/e mod lcm(p - 1, q - 1), which the library does not keep.
    enum { p1, q1, phi, gcd, lambda, n, e, d, count };
    Numbers<count> x;
    qalsub(qalcopy(x[p1], key_->p), QALBIG_ONE);
    qalsub(qalcopy(x[q1], key_->q), QALBIG_ONE);
    qalmul(x[p1], x[q1], x[phi]);
    qaldiv(x[phi], GCD(x[p1], x[q1], x[gcd]), x[lambda], x[phi]);
    qalmul(key_->p, key_->q, x[n]);
    qalconvert(x[e], public_exponent);
    if (qalmodd(x[lambda], public_exponent) == 0)
        throw std::runtime_error("this key has no exponent that belongs to " +
                                 std::to_string(public_exponent));
    inv_mod_extgcd(qalcopy(x[d], x[e]), x[lambda]);

    std::vector<Secret> numbers;
    for (const qald *number :
         {QALBIG_ZERO, static_cast<const qald *>(x[n]), static_cast<const qald *>(x[e]),
          static_cast<const qald *>(x[d]), key_->p, key_->q, key_->dP, key_->dQ, key_->qInv})
        numbers.push_back(to_secret(number));
    return to_pem(to_der(numbers), private_label);
}

} // namespace qal::tool
