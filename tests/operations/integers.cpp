#include "operations/operations.hpp"

#include <cstring>

namespace qal::test {

namespace {

constexpr size_t capacity = QALBIG_SIZE - 1;

std::string digits_label(size_t n)
{
    return std::to_string(n) + (n == 1 ? " digit" : " digits");
}

} // namespace

void Operations::add_integers()
{
    // Sums and shifts of whole buffers
    {
        qald *const a = number(capacity - 1), *const b = number(capacity - 1), *const r = room();
        auto *const answer = make<uint64_t>();
        const std::string label = digits_label(capacity - 1);
        add("qalclip", label, [=] { qalclip(a); }, {digits(a)});
        add("qalcopy", label, [=] { qalcopy(r, a); }, {digits(r)});
        add("qalconvert", "", [=] { qalconvert(r, 7); }, {digits(r)});
        add("qalclear", "", [=] { qalclear(r); }, {digits(r)}).sweep = true;
        add("qalcmp", label, [=] { *answer = static_cast<uint64_t>(qalcmp(a, a)); },
            {whole(answer)});
        add("qaladd", label, [=] { qaladd(a, b); }, {digits(a)});
        // The larger one is the sum.
        qald *const s = number(capacity - 1);
        qaladd(s, b);
        add("qalsub", label, [=] { qalsub(s, b); }, {digits(s)});
        add("qaladd2m", label, [=] { qaladd2m(a, b); }, {digits(a)});
        add("qaladdb2", label, [=] { qaladdb2(a, 70); }, {digits(a)});
        add("qalshl", label, [=] { qalshl(a, 67, r); }, {digits(r)});
        add("qalshr", label, [=] { qalshr(a, 67, r); }, {digits(r)});
        add("qalbitlen", label, [=] { *answer = qalbitlen(a, 1); }, {whole(answer)});
        add("qalexpb2", label, [=] { qalexpb2(r, 64 * capacity - 1); }, {digits(r)});
        add("qalmodexpb2", label, [=] { qalmodexpb2(a, 1000); }, {digits(a)});
        add("qalmodd", label, [=] { *answer = qalmodd(a, 1000003); }, {whole(answer)});
        add("qalinverse", "", [=] { *answer = qalinverse(a[1]); }, {whole(answer)});
        add("qaldivs", "", [=] { qaldivs(a[1] >> 1, a[2], a[1] | qald{1} << 63, answer); },
            {whole(answer)});
        auto *const length = make<int64_t>();
        add("qalgetslide", "", [=] { *answer = qalgetslide(a, 500, 5, length); },
            {whole(answer), whole(length)});
        add("qalgetwin", "", [=] { *answer = qalgetwin(a, 25, 5); }, {whole(answer)});
    }

    // Products, by size
    for (const size_t n : {4U, 8U, 16U, 32U, 64U}) {
        const std::string label = digits_label(n);
        qald *const a = number(n), *const b = number(n), *const x = number(2 * n),
                    *const p = number(n), *const q = room(), *const r = room();
        p[n] |= qald{1} << 63;
        qaldiv(number(n), p, nullptr, a);
        qaldiv(number(n), p, nullptr, b);
        const auto k = static_cast<uint32_t>(64 * n);
        const uint64_t c = qalinverse(-p[1]);
        add("qalmul", label, [=] { qalmul(a, b, r); }, {digits(r)});
        add("qalsqr", label, [=] { qalsqr(a, r); }, {digits(r)});
        add("qaldiv", digits_label(2 * n) + " by " + std::to_string(n), [=] { qaldiv(x, p, q, r); },
            {digits(q), digits(r)});
        qald *const t = number(2 * n - 1);
        add("qalmontcom", label, [=] { qalmontcom(c, k, p, t); }, {digits(t)});
        add("qalmulmont", label, [=] { qalmulmont(c, k, p, a, b, r); }, {digits(r)});
        add("qalsqrmont", label, [=] { qalsqrmont(c, k, p, a, r); }, {digits(r)});
        add("qalunitymont", label, [=] { qalunitymont(static_cast<int32_t>(k), p, r); },
            {digits(r)});
        // A power of two has no divisor in common with an odd number.
        qald *const two = room();
        qalexpb2(two, 64 * n - 5);
        add("qalmodinv", label, [=] { qalmodinv(two, p, r); }, {digits(r)});
    }

    // Powers, by size
    for (const size_t n : {4U, 8U, 16U, 32U}) {
        const std::string label = digits_label(n);
        qald *const p = number(n), *const x = room(), *const e = number(n), *const one = room(),
                    *const r = room();
        auto *const work = make<qald>(18 * QALBIG_SIZE), *const powers = make<qald>(16 * (n + 1));
        p[n] |= qald{1} << 63;
        qaldiv(number(n), p, nullptr, x);
        const auto k = static_cast<uint32_t>(64 * n);
        const uint64_t c = qalinverse(-p[1]);
        qalunitymont(static_cast<int32_t>(k), p, one);
        add("qalpowmod", label, [=] { qalpowmod(work, x, e, p, r); }, {digits(r)});
        add("qalpowmont", label, [=] { qalpowmont(work, one, c, k, p, x, e, r); }, {digits(r)});
        qalmontic(powers, 5, c, k, p, x);
        add("qalicpowmont", label, [=] { qalicpowmont(powers, 5, k, one, c, k, p, e, r); },
            {digits(r)});
    }

    // All sizes, with short exponents
    {
        qald *const a = number(capacity), *const b = number(capacity), *const p = number(capacity),
                    *const x = number(capacity), *const t = number(capacity), *const q = room(),
                    *const r = room(), *const one = room(), *const e = number(2);
        auto *const work = make<qald>(18 * QALBIG_SIZE), *const powers =
                                                             make<qald>(16 * QALBIG_SIZE);
        auto *const answer = make<int>();
        p[1] = ~qald{0};
        const uint64_t c = qalinverse(-p[1]);
        const auto with = [=](qald n) {
            // The modulus is larger than its operands: its top digit is.
            a[0] = b[0] = p[0] = n;
            p[n] = ~qald{0};
        };
        sweep("qalmul",
              [=] {
                  for (qald n = 0; n <= capacity; n++) {
                      for (const qald m : {qald{1}, n, capacity - n}) {
                          if (m + n > capacity)
                              continue;
                          a[0] = n;
                          b[0] = m;
                          qalmul(a, b, r);
                      }
                  }
              },
              {digits(r)});
        sweep("qalsqr",
              [=] {
                  for (a[0] = 0; a[0] <= capacity / 2; a[0]++)
                      qalsqr(a, r);
              },
              {digits(r)});
        sweep("qaldiv",
              [=] {
                  for (qald n = 1; n <= 128; n++) {
                      with(n);
                      for (x[0] = 1; x[0] <= 127; x[0] += 9)
                          qaldiv(x, p, n % 2 ? q : nullptr, r);
                  }
              },
              {digits(r)});
        // A full table of windows, and a radix that is no power of 2^64, each in turn
        for (const uint32_t more : {0U, 63U}) {
            const auto radix = [=](qald n) { return static_cast<uint32_t>(64 * n + more); };
            sweep("qalmontcom",
                  [=] {
                      for (qald n = 1; n <= 64; n++) {
                          with(n);
                          t[0] = 2 * n;
                          qalmontcom(c, radix(n), p, t);
                      }
                  },
                  {digits(t)});
            sweep("qalmulmont",
                  [=] {
                      for (qald n = 1; n <= 64; n++) {
                          with(n);
                          qalmulmont(c, radix(n), p, a, b, r);
                      }
                  },
                  {digits(r)});
            sweep("qalsqrmont",
                  [=] {
                      for (qald n = 1; n <= 64; n++) {
                          with(n);
                          qalsqrmont(c, radix(n), p, a, r);
                      }
                  },
                  {digits(r)});
            sweep("qalunitymont",
                  [=] {
                      for (qald n = 1; n <= 64; n++) {
                          with(n);
                          qalunitymont(static_cast<int32_t>(radix(n)), p, r);
                      }
                  },
                  {digits(r)});
            sweep("qalpowmont",
                  [=] {
                      for (qald n = 1; n <= 63; n++) {
                          with(n);
                          qalunitymont(static_cast<int32_t>(radix(n)), p, one);
                          qalpowmont(work, one, c, radix(n), p, a, e, r);
                      }
                  },
                  {digits(r)});
            sweep("qalpowmontstart",
                  [=] {
                      for (qald n = 1; n <= 63; n++) {
                          with(n);
                          qalpowmontstart(work, c, radix(n), p, a);
                      }
                  },
                  {whole(work, 18 * QALBIG_SIZE)});
            sweep("qalpowmontstop",
                  [=] {
                      for (qald n = 1; n <= 63; n++) {
                          with(n);
                          qalunitymont(static_cast<int32_t>(radix(n)), p, one);
                          qalpowmontstart(work, c, radix(n), p, a);
                          qalpowmontstop(work, one, c, radix(n), p, e, r);
                      }
                  },
                  {digits(r)});
            sweep("qalmontic",
                  [=] {
                      for (qald n = 1; n <= 63; n++) {
                          with(n);
                          qalmontic(powers, 5, c, radix(n), p, a);
                      }
                  },
                  {whole(powers, 16 * QALBIG_SIZE)});
            sweep("qalicpowmont",
                  [=] {
                      for (qald n = 1; n <= 63; n++) {
                          with(n);
                          qalunitymont(static_cast<int32_t>(radix(n)), p, one);
                          qalmontic(powers, 5, c, radix(n), p, a);
                          qalicpowmont(powers, 5, 256, one, c, radix(n), p, e, r);
                      }
                  },
                  {digits(r)});
        }
        // Odd and even moduli
        for (const qald odd : {1U, 0U}) {
            qald *const m = number(64);
            m[1] -= 1 - odd;
            sweep("qalpowmod",
                  [=] {
                      for (qald n = 1; n <= 64 - odd; n++) {
                          m[0] = a[0] = n;
                          qalpowmod(work, a, e, m, r);
                      }
                  },
                  {digits(r)});
            sweep("qalpowmodstart",
                  [=] {
                      for (qald n = 1; n <= 64 - odd; n++) {
                          m[0] = a[0] = n;
                          qalpowmodstart(work, a, m);
                      }
                  },
                  {whole(work, 18 * QALBIG_SIZE)});
            sweep("qalpowmodstop",
                  [=] {
                      for (qald n = 1; n <= 64 - odd; n++) {
                          m[0] = a[0] = n;
                          qalpowmodstart(work, a, m);
                          qalpowmodstop(work, e, m, r);
                      }
                  },
                  {digits(r)});
        }
        sweep("qalmodinv",
              [=] {
                  for (qald n = 1; n <= 64; n++) {
                      with(n);
                      qalexpb2(x, 64 * n - 2);
                      qalmodinv(x, p, r);
                  }
              },
              {digits(r)});
        // Composite ones: one base settles it.
        sweep("qalrmt",
              [=] {
                  *answer = 0;
                  for (x[0] = 1; x[0] <= 64; x[0] += x[0] < 16 ? 1 : 16)
                      *answer += qalrmt(x, 2);
              },
              {whole(answer)});
        // 2^l - 569
        qald *const special = room();
        std::memset(special + 1, 0xff, sizeof(qald) * capacity);
        special[1] = -qald{569};
        sweep("qalmodsf",
              [=] {
                  for (qald n = 2; n <= 64; n++) {
                      special[0] = n;
                      x[0] = 2 * n;
                      qalmodsf(x, special, static_cast<int32_t>(64 * n), 569);
                  }
              },
              {digits(x)});
        qald *const y = number(16), *const eight = room();
        std::memcpy(eight, special, sizeof(qald) * 9);
        eight[0] = 8;
        add("qalmodsf", "512 bits", [=] { qalmodsf(y, eight, 512, 569); }, {digits(y)});
    }
}

void Operations::add_conversions()
{
    qald *const x = number(64), *const r = room();
    constexpr uint32_t size = 512;
    uint8_t *const in = bytes(size), *const out = make<uint8_t>(size);
    auto *const text = make<char>(1100);
    const std::string label = std::to_string(size) + " bytes";
    add("qalvalueof32", "8 words", [=] { qalvalueof32(r, 8, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U); },
        {digits(r)});
    add("qalvalueof64", "8 digits",
        [=] {
            qalvalueof64(r, 8, uint64_t{1}, uint64_t{2}, uint64_t{3}, uint64_t{4}, uint64_t{5},
                         uint64_t{6}, uint64_t{7}, uint64_t{8});
        },
        {digits(r)});
    add("qalfrombase256", label, [=] { qalfrombase256(r, in, size); }, {digits(r)});
    add("qalfromrbase256", label, [=] { qalfromrbase256(r, in, size); }, {digits(r)});
    add("qalgetbe", label, [=] { qalgetbe(r, in, 1, size - 1); }, {digits(r)});
    add("qalgetle", label, [=] { qalgetle(r, in, 1, size - 1); }, {digits(r)});
    add("qaltobase256", label, [=] { qaltobase256(out, size, x); }, {whole(out, size)});
    add("qaltorbase256", label, [=] { qaltorbase256(out, size, x); }, {whole(out, size)});
    add("qalputbe", label, [=] { qalputbe(out, 1, size - 1, x); }, {whole(out, size)});
    add("qalputle", label, [=] { qalputle(out, 1, size - 1, x); }, {whole(out, size)});
    add("qaltoxstr", label, [=] { qaltoxstr(x, text, 1100); }, {whole(text, 1100)});
}

} // namespace qal::test
