// Numbers and polynomials from bytes and back, against GMP.
#include "numbers.hpp"
#include "ua/model.hpp"

using namespace qal::fuzz;

namespace {

constexpr size_t most_bytes = 8 * capacity;

mpz_class imported(const Bytes &bytes, size_t n, bool big_endian)
{
    mpz_class value;
    mpz_import(value.get_mpz_t(), n, big_endian ? 1 : -1, 1, 0, 0, bytes.data());
    return value;
}

// Without leading zeros.
Bytes exported(const mpz_class &value, bool big_endian)
{
    Bytes bytes((mpz_sizeinbase(value.get_mpz_t(), 2) + 7) / 8);
    size_t count = 0;
    mpz_export(bytes.data(), &count, big_endian ? 1 : -1, 1, 0, 0, value.get_mpz_t());
    bytes.resize(count);
    return bytes;
}

void check_from_bytes(Input &in)
{
    const auto edge = in.edge();
    const size_t zeros = in.below(20), offset = in.below(20);
    Bytes bytes = in.bytes(in.below(1100));
    bytes.insert(in.flag() ? bytes.begin() : bytes.end(), zeros, uint8_t{0});
    Bytes placed(offset, 0xee);
    placed.insert(placed.end(), bytes.begin(), bytes.end());
    // Beyond a full buffer the first bytes count.
    const size_t used = std::min(bytes.size(), most_bytes), room = (used + 7) / 8;
    const auto count = static_cast<uint32_t>(bytes.size());
    const mpz_class big = imported(bytes, used, true), little = imported(bytes, used, false);
    GuardedBytes source(bytes, edge), at(placed, edge);
    source.make_read_only();
    Number a(0, room, edge), b(0, room, edge), c(0, room, edge), d(0, room, edge);
    expect_number(qalfrombase256(a, source.data(), count), a, big);
    expect_number(qalfromrbase256(b, source.data(), count), b, little);
    expect_number(qalgetbe(c, at.data(), offset, count), c, big);
    expect_number(qalgetle(d, at.data(), offset, count), d, little);
}

void check_to_bytes(Input &in)
{
    const auto edge = in.edge();
    const mpz_class x = number(in, 130);
    const size_t size = in.below(1100), offset = in.below(20);
    const auto room = static_cast<uint32_t>(size);
    Number value(x, digits_of(x), edge);
    for (const bool big_endian : {true, false}) {
        // A short buffer gets the bytes that come first; what is behind the last one stays.
        const Bytes all = exported(x, big_endian);
        const size_t count = std::min(size, all.size());
        Bytes expected(size, 0xa5);
        std::copy_n(all.begin(), count, expected.begin());
        GuardedBytes out(Bytes(size, 0xa5), edge), behind(Bytes(offset + size, 0xa5), edge);
        ASSERT_EQ((big_endian ? qaltobase256 : qaltorbase256)(out.data(), room, value), count);
        ASSERT_EQ(out.contents(), expected);
        ASSERT_EQ((big_endian ? qalputbe : qalputle)(behind.data(), offset, room, value), count);
        expected.insert(expected.begin(), offset, uint8_t{0xa5});
        ASSERT_EQ(behind.contents(), expected);
    }
    ASSERT_EQ(value_of(value), x);
}

void check_text(Input &in)
{
    const mpz_class x = number(in, 130);
    const std::string digits = x.get_str(-16);
    const size_t size = in.flag() ? digits.size() + in.below(3) : in.below(2100);
    Number value(x, digits_of(x), in.edge());
    GuardedBytes text(Bytes(size, 0xa5), in.edge());
    qaltoxstr(value, reinterpret_cast<char *>(text.data()), static_cast<int32_t>(size));
    qaltoxstr(value, nullptr, static_cast<int32_t>(size));
    qaltoxstr(value, reinterpret_cast<char *>(text.data()), -static_cast<int32_t>(in.below(5)));
    if (size == 0)
        return;
    std::string expected = digits.size() < size ? digits : std::string(size - 1, '*');
    if (x == 0 && size == 1)
        expected = "";
    ASSERT_STREQ(reinterpret_cast<const char *>(text.data()), expected.c_str());
}

void check_words(Input &in)
{
    const qald w[4] = {digit(in, 0), digit(in, 0), digit(in, 0), digit(in, 0)};
    const auto k = static_cast<int32_t>(in.below(5));
    mpz_class wide, narrow;
    for (int32_t i = 0; i < k; i++) {
        wide = (wide << 64) + w[i];
        narrow = (narrow << 32) + static_cast<uint32_t>(w[i]);
    }
    const auto half = [&](int i) { return static_cast<uint32_t>(w[i]); };
    Number a(0, static_cast<size_t>(k)), b(0, static_cast<size_t>(k + 1) / 2), c(0, 1);
    expect_number(qalvalueof64(a, k, w[0], w[1], w[2], w[3]), a, wide);
    expect_number(qalvalueof32(b, k, half(0), half(1), half(2), half(3)), b, narrow);
    expect_number(qalconvert(c, w[0]), c, w[0]);

    const mpz_class x = number(in, 130);
    Number original(x, digits_of(x)), place(0, digits_of(x));
    expect_number(qalcopy(place, original), place, x);
    expect_number(qalclip(place), place, x);
}

void check_polynomial_bytes(Input &in)
{
    const auto n = static_cast<uint32_t>(1 + in.below(14));
    const size_t most = 4 * n;
    const auto edge = in.edge();
    const Bytes bytes = in.bytes(in.below(most + 1));
    GuardedBytes source(bytes, edge);
    source.make_read_only();
    Polynomial p(power_of_two(8 * most) - 1, n);
    const Poly value = poly_of(bytes);
    ASSERT_EQ(qal2pfromb(p, source.data(), static_cast<int32_t>(bytes.size())), p.words());
    ASSERT_EQ(p.value(), value);
    ASSERT_EQ(p.words()[0], n);

    const size_t size = in.below(80);
    GuardedBytes out(Bytes(size, 0xa5), edge);
    ASSERT_EQ(qal2ptob(out.data(), p, static_cast<int32_t>(size)), out.data());
    ASSERT_EQ(poly_of(out.contents()), value % power_of_two(8 * size));

    // Bits, of a polynomial of up to 15 words.
    const auto words = static_cast<uint32_t>(1 + in.below(15));
    const auto bits = static_cast<int32_t>(in.below(32 * words + 1));
    const Bytes given = in.bytes((static_cast<size_t>(bits) + 7) / 8);
    GuardedBytes bit_source(given, edge);
    Polynomial q(power_of_two(32 * words) - 1, words);
    ASSERT_EQ(qal2pfrombits(q, bit_source.data(), bits), q.words());
    ASSERT_EQ(q.value(), poly_of(given) % power_of_two(static_cast<size_t>(bits)));
}

void check_polynomial_numbers(Input &in)
{
    const auto n = static_cast<uint32_t>(1 + in.below(13));
    const mpz_class x = number(in, 8);
    Number b(x, digits_of(x), in.edge());
    Polynomial p(power_of_two(32 * n) - 1, n);
    ASSERT_EQ(qal2pfrombig(p, b), p.words());
    Poly expected;
    for (size_t i = 0; i < n && i < 2 * digits_of(x); i++) {
        const mpz_class shifted = ((x >> (64 * (i / 2))) % power_of_two(64)) >> (16 * i % 64);
        expected += mpz_class(shifted % power_of_two(32)) << (32 * i);
    }
    ASSERT_EQ(p.value(), expected);
    if (expected != 0) {
        Number back(0, (n + 1) / 2, in.edge());
        expect_number(qal2ptobig(back, p), back, expected);
    }
}

} // namespace

QAL_FUZZ_TARGET
{
    static constexpr decltype(&check_words) checks[] = {
        check_from_bytes, check_to_bytes,         check_text,
        check_words,      check_polynomial_bytes, check_polynomial_numbers};
    in.one_of(checks)(in);
}
