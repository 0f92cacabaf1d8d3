// Private keys and one-time secrets of DSTU 4145-2002, and key agreement on its curves.
#include "subjects.hpp"

#include "secrecy/domain.hpp"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>

namespace qal::test {

namespace {

// What the pool's source gives next.
const Bytes *source;

int give(uint8_t *out, uint32_t size)
{
    std::memcpy(out, source->data(), size);
    return 0;
}

struct Memory {
    dstu_ctx ctx;
    dstu_bspool pool;
    Bytes one_time, priv, pub, peer, hash, sig, out;
    int32_t priv_len, pub_len, sig_len, out_len;
    qald e[QALBIG_SIZE];
    qal2p cp;

    // Empty, and with this for the next secret.
    void reset(const Bytes &secret)
    {
        std::ranges::copy(secret, one_time.begin());
        std::memset(&pool, 0, sizeof pool);
        if (dstu_bspool_init(&pool, &ctx, give) != 0)
            throw std::logic_error("no pool");
        source = &one_time;
        priv_len = ctx.key_len;
        pub_len = ctx.field_len;
        sig_len = ctx.sig_len;
    }
};

// Below 2^bits, least significant byte first
class Scalars {
public:
    explicit Scalars(size_t bits) : bits_(bits), size_((bits + 7) / 8) {}

    [[nodiscard]] Bytes cut(Bytes bytes) const
    {
        if (bits_ % 8 != 0)
            bytes.back() &= static_cast<uint8_t>((1 << (bits_ % 8)) - 1);
        return bytes;
    }

    [[nodiscard]] Bytes bit(size_t i) const
    {
        Bytes bytes(size_);
        bytes[i / 8] = static_cast<uint8_t>(1 << (i % 8));
        return bytes;
    }

    [[nodiscard]] Bytes ones(size_t from, size_t to) const
    {
        Bytes bytes(size_);
        for (size_t i = from; i < to; i++)
            bytes[i / 8] = static_cast<uint8_t>(bytes[i / 8] | 1 << (i % 8));
        return bytes;
    }

    // Of as many digits of 64 bits.
    [[nodiscard]] std::vector<Input> usual(size_t random_inputs) const
    {
        const size_t top = bits_ - 1;
        std::vector<Input> list = {
            {"all ones", {ones(0, bits_)}},
            {"upper half ones", {ones(bits_ / 2, bits_)}},
            {"highest bit", {bit(top)}},
            {"highest bit and lowest", {sum(bit(top), bit(0))}},
            {"no lowest bit", {ones(1, bits_)}},
            {"leading zero bytes", {ones(0, bits_ - 16)}},
            {"bytes 55", {cut(Bytes(size_, 0x55))}},
            {"bytes aa", {cut(Bytes(size_, 0xaa))}},
        };
        Random random;
        for (size_t i = 0; i < 4; i++)
            list.push_back({"runs " + std::to_string(i), {sum(cut(random.runs(size_)), bit(top))}});
        for (size_t i = 0; i < random_inputs; i++)
            list.push_back({"random " + std::to_string(i), {cut(random.bytes(size_))}});
        return list;
    }

    // And those with fewer.
    [[nodiscard]] std::vector<Input> all(size_t random_inputs) const
    {
        std::vector<Input> list = usual(random_inputs);
        list.push_back({"short, 1", {bit(0)}});
        list.push_back({"short, 2", {bit(1)}});
        list.push_back({"short, 3", {ones(0, 2)}});
        list.push_back({"short, one bit", {bit(100)}});
        list.push_back({"short, ones", {ones(0, 100)}});
        return list;
    }

private:
    static Bytes sum(Bytes a, const Bytes &b)
    {
        for (size_t i = 0; i < a.size(); i++)
            a[i] |= b[i];
        return a;
    }

    size_t bits_, size_;
};

size_t bits_below_order(const dstu_ctx &ctx)
{
    const uint64_t digits = ctx.n[0];
    return 64 * digits - static_cast<size_t>(__builtin_clzll(ctx.n[digits])) - 1;
}

// Steps until the first secret is ready, as many for each input: the number of steps is public.
void add_steps(std::vector<Subject> &subjects, const std::string &name,
               const std::shared_ptr<Memory> &m, const std::vector<Input> &inputs, size_t most)
{
    std::map<int, std::vector<Input>> by_steps;
    std::vector<Input> long_ones;
    constexpr int some = 12;
    for (const Input &input : inputs) {
        m->reset(input.values[0]);
        int steps = 1;
        while (dstu_bspool_step(&m->pool) == 0)
            steps++;
        by_steps[steps].push_back(input);
        if (steps > some)
            long_ones.push_back(input);
    }
    const std::string operation = "dstu_bspool_step";
    long_ones.resize(std::min(most, long_ones.size()));
    subjects.push_back({operation, name + ", first calls", every_class, long_ones,
                        [m](const Input &input) { m->reset(input.values[0]); },
                        [m] {
                            for (int i = 0; i < some; i++)
                                dstu_bspool_step(&m->pool);
                            return 0;
                        }});
    auto &[steps, group] = *std::ranges::max_element(
        by_steps, {}, [](const auto &each) { return each.second.size(); });
    group.resize(std::min(most, group.size()));
    subjects.push_back({operation, name + ", all calls", every_class, group,
                        [m](const Input &input) { m->reset(input.values[0]); },
                        [m, steps = steps] {
                            int ready = 0;
                            for (int i = 0; i < steps; i++)
                                ready = dstu_bspool_step(&m->pool);
                            return ready == 1 ? 0 : 1;
                        }});
}

void add_curve(std::vector<Subject> &subjects, const std::string &name, size_t random_inputs)
{
    const auto m = std::make_shared<Memory>();
    set_up_domain(m->ctx, name);
    const auto key_size = static_cast<size_t>(m->ctx.key_len),
               field_size = static_cast<size_t>(m->ctx.field_len);
    m->one_time.resize(key_size);
    m->priv.resize(key_size);
    m->pub.resize(field_size);
    m->peer.resize(field_size);
    m->out.resize(field_size);
    m->sig.resize(static_cast<size_t>(m->ctx.sig_len));
    m->hash.resize(32, 0x5a);
    const Scalars scalars(bits_below_order(m->ctx));
    Random random;
    const Bytes usual = scalars.cut(random.bytes(key_size));
    m->reset(usual);
    if (dstu_gen_keys(&m->ctx, &m->pool, &m->priv_len, m->priv.data(), &m->pub_len,
                      m->peer.data()) != 0)
        throw std::runtime_error("no keys on " + name);

    const std::vector<Input> secrets = scalars.all(random_inputs);
    subjects.push_back({"dstu_gen_keys", name, every_class, secrets,
                        [m](const Input &input) { m->reset(input.values[0]); },
                        [m] {
                            return dstu_gen_keys(&m->ctx, &m->pool, &m->priv_len, m->priv.data(),
                                                 &m->pub_len, m->pub.data());
                        }});
    subjects.push_back({"dstu_bspool_get", name, every_class, scalars.usual(random_inputs),
                        [m](const Input &input) { m->reset(input.values[0]); },
                        [m] { return dstu_bspool_get(&m->pool, m->e, m->cp); }});
    const auto sign = [m] {
        return dstu_sign(&m->ctx, &m->pool, m->ctx.key_len, m->priv.data(), 256, m->hash.data(),
                         &m->sig_len, m->sig.data());
    };
    subjects.push_back({"dstu_sign", name + ", private keys", every_class, secrets,
                        [m, usual](const Input &input) {
                            m->reset(usual);
                            std::ranges::copy(input.values[0], m->priv.begin());
                        },
                        sign});
    subjects.push_back({"dstu_sign", name + ", one-time secrets", every_class, secrets,
                        [m, usual](const Input &input) {
                            m->reset(input.values[0]);
                            std::ranges::copy(usual, m->priv.begin());
                        },
                        sign});
    for (const int cofactor : {0, 1})
        subjects.push_back(
            {"dhua_zz", name + (cofactor ? ", cofactor" : ""), every_class, secrets,
             [m](const Input &input) { std::ranges::copy(input.values[0], m->priv.begin()); },
             [m, cofactor] {
                 return dhua_zz(&m->ctx, m->ctx.key_len, m->priv.data(), m->ctx.field_len,
                                m->peer.data(), cofactor, &m->out_len, m->out.data());
             }});
    // So many that enough of them take as many steps.
    add_steps(subjects, name, m, scalars.usual(random_inputs + 200), secrets.size());
}

} // namespace

void add_binary_curves(std::vector<Subject> &subjects, size_t random_inputs)
{
    for (const char *name : {"m163", "m191", "m257", "m431"})
        add_curve(subjects, name, random_inputs);
}

} // namespace qal::test
