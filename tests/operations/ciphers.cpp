#include "operations/operations.hpp"

namespace qal::test {

namespace {

// Around the sizes of every variant's groups of blocks
constexpr size_t longest = 64 * 1024;
constexpr size_t steps[] = {8, 16, 32, 64, 96, 128, 192, 256, 384, 512, 1024, 4096, 8192, longest};

std::string size_label(size_t size)
{
    return size % 1024 == 0 ? std::to_string(size / 1024) + " KiB" : std::to_string(size) + " B";
}

} // namespace

void Operations::add_ciphers()
{
    uint8_t *const key = bytes(32), *const iv = bytes(16), *const in = bytes(longest);
    auto *const out = make<uint8_t>(longest);
    auto *const status = make<int>();

    // GOST 28147-89, with the table of an S-box and with any table
    const uint32_t *const sbox_table = CryptoPro_uz;
    const auto *const any_table = reinterpret_cast<const uint32_t *>(bytes(4096));
    for (const uint32_t *const table : {sbox_table, any_table}) {
        const bool any = table == any_table;
        auto *const ecb = make<g28147_ecb_ctx>(2);
        auto *const ofb = make<g28147_ofb_ctx>();
        auto *const cfb = make<g28147_cfb_ctx>(2);
        auto *const mac = make<g28147_hmac_ctx>();
        for (int i = 0; i < 2; i++) {
            g28147_ecb_init_ext(&ecb[i], i, key, table);
            g28147_cfb_init_ext(&cfb[i], static_cast<uint32_t>(i), key, iv, table);
        }
        g28147_ofb_init_ext(ofb, key, iv, table);
        g28147_hmac_init_ext(mac, key, table);
        for (const size_t size : {64U, 1024U, 16384U}) {
            if (any)
                break;
            const std::string label = size_label(size);
            add("g28147_ecb_update", label, [=] { g28147_ecb_update(&ecb[1], in, out, size); },
                {whole(out, size)});
            add("g28147_ofb_update", label, [=] { g28147_ofb_update(ofb, in, out, size); },
                {whole(out, size), whole(ofb)});
            add("g28147_cfb_update", label + ", encryption",
                [=] { g28147_cfb_update(&cfb[1], in, out, size); },
                {whole(out, size), whole(&cfb[1])});
            add("g28147_cfb_update", label + ", decryption",
                [=] { g28147_cfb_update(&cfb[0], in, out, size); },
                {whole(out, size), whole(&cfb[0])});
            add("g28147_hmac_update", label, [=] { g28147_hmac_update(mac, in, size); },
                {whole(mac)});
        }
        sweep("g28147_ecb_update",
              [=] {
                  for (const size_t size : steps) {
                      g28147_ecb_update(&ecb[0], in, out, size);
                      g28147_ecb_update(&ecb[1], out, out, size);
                  }
              },
              {whole(out, longest)});
        sweep("g28147_ofb_update",
              [=] {
                  for (const size_t size : steps)
                      g28147_ofb_update(ofb, in, out, size - 3);
              },
              {whole(out, longest), whole(ofb)});
        for (const size_t i : {0U, 1U}) {
            sweep("g28147_cfb_update",
                  [=] {
                      for (const size_t size : steps)
                          g28147_cfb_update(&cfb[i], in, out, size);
                  },
                  {whole(out, longest), whole(cfb, 2)});
        }
        sweep("g28147_cfb_enc_update_blocks",
              [=] {
                  for (const size_t size : steps)
                      g28147_cfb_enc_update_blocks(&cfb[1], in, out, size);
              },
              {whole(out, longest), whole(cfb, 2)});
        sweep("g28147_cfb_dec_update_blocks",
              [=] {
                  for (const size_t size : steps)
                      g28147_cfb_dec_update_blocks(&cfb[0], in, out, size);
              },
              {whole(out, longest), whole(cfb, 2)});
        sweep("g28147_hmac_update",
              [=] {
                  for (const size_t size : steps)
                      g28147_hmac_update(mac, in, size - 3);
              },
              {whole(mac)});
        sweep("g28147_hmac_updblocks",
              [=] {
                  for (const size_t size : steps)
                      g28147_hmac_updblocks(mac, in, size);
              },
              {whole(mac)});
        if (any)
            continue;
        auto *const begun = make<g28147_hmac_ctx>();
        g28147_hmac_init_ext(begun, key, table);
        g28147_hmac_update(begun, in, 21);
        add("g28147_hmac_final", "", [=] { std::ignore = g28147_hmac_final(begun, out); },
            {whole(begun), whole(out, 4)});
        add("g28147_hmac_final_verify", "", [=] { *status = g28147_hmac_final_verify(begun, iv); },
            {whole(begun), whole(status)});
        add("g28147_ecb_init_ext", "", [=] { g28147_ecb_init_ext(ecb, 1, key, table); },
            {whole(ecb)});
        add("g28147_ofb_init_ext", "", [=] { g28147_ofb_init_ext(ofb, key, iv, table); },
            {whole(ofb)});
        add("g28147_cfb_init_ext", "", [=] { g28147_cfb_init_ext(cfb, 1, key, iv, table); },
            {whole(cfb)});
        add("g28147_hmac_init_ext", "", [=] { g28147_hmac_init_ext(mac, key, table); },
            {whole(mac)});
        auto *const kext = make<uint32_t>(1024);
        uint8_t *const sbox = bytes(128);
        for (int i = 0; i < 128; i++)
            sbox[i] &= 15;
        add("g28147_make_kext", "", [=] { std::ignore = g28147_make_kext(kext, sbox); },
            {whole(kext, 1024)});
        auto *const halves = make<uint32_t>(2);
        add("g28147_32Steps", "",
            [=] { g28147_32Steps(1, 2, ecb[1].rk, table, &halves[0], &halves[1]); },
            {whole(halves, 2)});
        add("g28147_16Steps", "",
            [=] { g28147_16Steps(1, 2, ecb[1].rk, table, &halves[0], &halves[1]); },
            {whole(halves, 2)});
    }

    // Kuznyechik
    auto *const rk = make<uint8_t>(160);
    auto *const ecb = make<kuzn_ecb_ctx>(2);
    auto *const ctr = make<kuzn_ctr_ctx>();
    kuzn_setup_keys(rk, key);
    kuzn_ecb_init(&ecb[0], 0, key);
    kuzn_ecb_init(&ecb[1], 1, key);
    kuzn_ctr_init(ctr, iv, key);
    add("kuzn_setup_keys", "", [=] { kuzn_setup_keys(rk, key); }, {whole(rk, 160)});
    auto *const block = bytes(16);
    add("kuzn_block_enc", "", [=] { kuzn_block_enc(block, rk); }, {whole(block, 16)});
    for (const uint32_t mode : {0U, 1U})
        add("kuzn_ecb_init", mode ? "1" : "0", [=] { kuzn_ecb_init(ecb, mode, key); },
            {whole(ecb)});
    add("kuzn_ctr_init", "", [=] { kuzn_ctr_init(ctr, iv, key); }, {whole(ctr)});
    for (const size_t size : {64U, 1024U, 16384U}) {
        const std::string label = size_label(size);
        for (const size_t mode : {0U, 1U})
            add("kuzn_ecb_update", label + (mode ? ", mode 1" : ", mode 0"),
                [=] { kuzn_ecb_update(&ecb[mode], in, out, size); }, {whole(out, size)});
        add("kuzn_ctr_update", label, [=] { kuzn_ctr_update(ctr, in, out, size); },
            {whole(out, size), whole(ctr)});
    }
    sweep("kuzn_ecb_update",
          [=] {
              for (const size_t size : steps) {
                  kuzn_ecb_update(&ecb[0], in, out, size / 16 * 16);
                  kuzn_ecb_update(&ecb[1], out, out, size / 16 * 16);
              }
          },
          {whole(out, longest)});
    sweep("kuzn_ctr_update",
          [=] {
              for (const size_t size : steps)
                  kuzn_ctr_update(ctr, in, out, size - 3);
          },
          {whole(out, longest), whole(ctr)});
}

void Operations::add_hashes()
{
    const uint8_t *const in = bytes(longest);
    auto *const out = make<uint8_t>(64);

    // Streebog
    auto *const ctx = make<streebog_ctx>();
    streebog512_init(ctx);
    add("streebog512_init", "", [=] { streebog512_init(ctx); }, {whole(ctx)});
    add("streebog256_init", "", [=] { streebog256_init(ctx); }, {whole(ctx)});
    for (const size_t size : {64U, 1024U, 16384U}) {
        const std::string label = size_label(size);
        add("streebog512_update", label, [=] { streebog512_update(ctx, in, size); }, {whole(ctx)});
        add("streebog256_update", label, [=] { streebog256_update(ctx, in, size); }, {whole(ctx)});
        add("streebog512_update_blocks", label, [=] { streebog512_update_blocks(ctx, in, size); },
            {whole(ctx)});
    }
    sweep("streebog512_update",
          [=] {
              for (const size_t size : steps)
                  streebog512_update(ctx, in, size - 3);
          },
          {whole(ctx)});
    sweep("streebog256_update",
          [=] {
              for (const size_t size : steps)
                  streebog256_update(ctx, in, size - 3);
          },
          {whole(ctx)});
    auto *const begun = make<streebog_ctx>();
    streebog512_init(begun);
    streebog512_update(begun, in, 61);
    add("streebog512_final", "", [=] { streebog512_final(out, begun); },
        {whole(out, 64), whole(begun)});
    add("streebog256_final", "", [=] { streebog256_final(out, begun); },
        {whole(out, 64), whole(begun)});
    add("streebog_update_block", "", [=] { streebog_update_block(ctx, in, 512); }, {whole(ctx)});
    uint8_t *const h = bytes(64);
    add("streebog_gN", "", [=] { streebog_gN(h, in, in + 64); }, {whole(h, 64)});
    add("streebog_lpsx64", "", [=] { streebog_lpsx64(out, in, in + 64); }, {whole(out, 64)});
    const auto *const words = reinterpret_cast<const uint64_t *>(in);
    auto *const sum = reinterpret_cast<uint64_t *>(bytes(64));
    add("streebog_put_block", "", [=] { streebog_put_block(out, words); }, {whole(out, 64)});
    add("streebog_add", "", [=] { streebog_add(sum, 512); }, {whole(sum, 8)});
    add("streebog_add512", "", [=] { streebog_add512(sum, in); }, {whole(sum, 8)});

    // GOST R 34.11-94, with the table of an S-box and with any table
    const uint32_t *const sbox_table = CryptoPro_uz;
    const auto *const any_table = reinterpret_cast<const uint32_t *>(bytes(4096));
    for (const uint32_t *const table : {sbox_table, any_table}) {
        auto *const gost = make<gr341194_md_ctx>();
        gr341194_md_init_ext(gost, CryptoPro_iv, table);
        sweep("gr341194_md_update",
              [=] {
                  for (const size_t size : steps)
                      gr341194_md_update(gost, in, size - 3);
              },
              {whole(gost)});
        sweep("gr341194_md_updblocks",
              [=] {
                  for (const size_t size : steps)
                      gr341194_md_updblocks(gost, in, size / 32 * 32);
              },
              {whole(gost)});
        auto *const started = make<gr341194_md_ctx>();
        gr341194_md_init_ext(started, CryptoPro_iv, table);
        gr341194_md_update(started, in, 61);
        if (table == any_table) {
            sweep("gr341194_md_final", [=] { gr341194_md_final(started, out); },
                  {whole(out, 32), whole(started)});
            sweep("gr341194_md_x", [=] { gr341194_md_x(gost, in); }, {whole(gost)});
            continue;
        }
        add("gr341194_md_init_ext", "", [=] { gr341194_md_init_ext(gost, CryptoPro_iv, table); },
            {whole(gost)});
        for (const size_t size : {64U, 1024U, 16384U}) {
            add("gr341194_md_update", size_label(size), [=] { gr341194_md_update(gost, in, size); },
                {whole(gost)});
        }
        add("gr341194_md_updblocks", size_label(1024),
            [=] { gr341194_md_updblocks(gost, in, 1024); }, {whole(gost)});
        add("gr341194_md_final", "", [=] { gr341194_md_final(started, out); },
            {whole(out, 32), whole(started)});
        add("gr341194_md_x", "", [=] { gr341194_md_x(gost, in); }, {whole(gost)});
        add("gr341194_md_mix", "", [=] { gr341194_md_mix(out, in, in + 32, in + 64); },
            {whole(out, 32)});
        uint8_t *const x = bytes(32);
        add("gr341194_md_psi", "61 times", [=] { gr341194_md_psi(x, 61); }, {whole(x, 32)});
        add("gr341194_md_a", "", [=] { gr341194_md_a(x); }, {whole(x, 32)});
        add("gr341194_md_p", "", [=] { gr341194_md_p(out, in); }, {whole(out, 32)});
        auto *const carry = make<uint32_t>();
        add("gr341194_md_add256", "", [=] { *carry = gr341194_md_add256(x, in); },
            {whole(x, 32), whole(carry)});
        add("gr341194_md_add32", "", [=] { gr341194_md_add32(x, 256); }, {whole(x, 32)});
        add("gr341194_md_mem_xor", "64 B", [=] { gr341194_md_mem_xor(out, in, in + 64, 64); },
            {whole(out, 64)});
    }
}

} // namespace qal::test
