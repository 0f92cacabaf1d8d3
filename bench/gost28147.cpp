// GOST 28147-89 and GOST R 34.11-94 over whole messages. The cipher's keys are set up beforehand;
// all use the S-box of id-Gost28147-89-CryptoPro-A-ParamSet.
#include "support/peers.hpp"
#include "support/workload.hpp"

#include <qal/g28147.h>
#include <qal/gr341194.h>

#include <algorithm>

#if QAL_BENCH_GCRYPT
#include <gcrypt.h>
#endif
#if QAL_BENCH_NETTLE
#include <nettle/gosthash94.h>
#endif
#if QAL_BENCH_BOTAN
#include <botan/block_cipher.h>
#include <botan/cipher_mode.h>
#include <botan/hash.h>
#endif
#if QAL_BENCH_CRYPTOPP
#include <cryptopp/gost.h>
#include <cryptopp/modes.h>
#endif

using namespace qal::bench;

namespace {

const Bytes key = material("key", 32), iv = material("iv", 8);
constexpr size_t block_size = 8;

// Rows K1 to K8, RFC 4357, section 11.2.
constexpr uint8_t rows[8][17] = {"\x9\x6\x3\x2\x8\xb\x1\x7\xa\x4\xe\xf\xc\x0\xd\x5",
                                 "\x3\x7\xe\x9\x8\xa\xf\x0\x5\x2\x6\xc\xb\x4\xd\x1",
                                 "\xe\x4\x6\x2\xb\x3\xd\x8\xc\xf\x5\xa\x0\x7\x1\x9",
                                 "\xe\x7\xa\xc\xd\x1\x3\x9\x0\x2\xb\x4\xf\x8\x5\x6",
                                 "\xb\x5\x1\x9\x8\xd\xf\x0\xe\x4\x2\x3\xc\x7\xa\x6",
                                 "\x3\xa\xd\xc\x1\x2\x0\xb\x7\x5\x9\x4\x8\xf\xe\x6",
                                 "\x1\xd\x2\x9\x7\xa\x6\x0\x8\xc\x4\x5\xf\x3\xb\xe",
                                 "\xb\xa\xf\x5\x0\xc\xe\x8\x6\x2\x3\x9\x1\x7\xd\x4"};

Bytes packed_rows()
{
    Bytes sbox(128);
    for (size_t x = 0; x < 16; x++)
        for (size_t k = 0; k < 8; k++)
            sbox[8 * x + k] = rows[7 - k][x];
    return sbox;
}

const uint32_t *table()
{
    static const std::vector<uint32_t> expanded = [] {
        std::vector<uint32_t> words(1024);
        g28147_make_kext(words.data(), packed_rows().data());
        return words;
    }();
    return expanded.data();
}

#if QAL_BENCH_GCRYPT
gcry_cipher_hd_t gcrypt_cipher(int mode)
{
    gcry_cipher_hd_t handle = nullptr; // for as long as the program runs
    gcry_cipher_open(&handle, GCRY_CIPHER_GOST28147, mode, 0);
    gcry_cipher_ctl(handle, GCRYCTL_SET_SBOX, const_cast<char *>("1.2.643.2.2.31.1"), 0);
    gcry_cipher_setkey(handle, key.data(), key.size());
    return handle;
}
#endif

void add_ecb(const Bytes &in)
{
    Workload work("gost28147-ecb", size_name(in.size()), in.size(), in.size());
    static g28147_ecb_ctx ctx;
    g28147_ecb_init_ext(&ctx, 1, key.data(), table());
    work.contender("qal",
                   [&](uint8_t *out) { g28147_ecb_update(&ctx, in.data(), out, in.size()); });
#if QAL_BENCH_GCRYPT
    static const auto handle = gcrypt_cipher(GCRY_CIPHER_MODE_ECB);
    work.contender("libgcrypt", [&](uint8_t *out) {
        gcry_cipher_encrypt(handle, out, in.size(), in.data(), in.size());
    });
#endif
#if QAL_BENCH_BOTAN
    // Its sets are that of GOST R 34.11-94 and its test set, which does not change the work.
    static auto *const cipher = // for as long as the program runs
        Botan::BlockCipher::create_or_throw("GOST-28147-89(R3411_CryptoPro)").release();
    cipher->set_key(key.data(), key.size());
    work.contender_apart(
        "botan", [&](uint8_t *out) { cipher->encrypt_n(in.data(), out, in.size() / block_size); });
#endif
#if QAL_BENCH_CRYPTOPP
    static CryptoPP::GOST::Encryption gost(key.data(), key.size()); // a set of its own
    work.contender_apart("crypto++", [&](uint8_t *out) {
        gost.AdvancedProcessBlocks(in.data(), nullptr, out, in.size(), 0);
    });
#endif
}

void add_gamma(const Bytes &in)
{
    Workload work("gost28147-gamma", size_name(in.size()), in.size(), in.size());
    static g28147_ofb_ctx begun;
    g28147_ofb_init_ext(&begun, key.data(), iv.data(), table());
    work.contender("qal", [&](uint8_t *out) {
        g28147_ofb_ctx ctx = begun;
        g28147_ofb_update(&ctx, in.data(), out, in.size());
    });
#if QAL_BENCH_CRYPTO
    if (gost_engine()) {
        EVP_CIPHER_CTX *const ctx = EVP_CIPHER_CTX_new(); // for as long as the program runs
        EVP_EncryptInit_ex(ctx, EVP_get_cipherbyname("gost89-cnt"), gost_engine(), key.data(),
                           iv.data());
        // The engine changes its key every KiB.
        work.contender_apart("openssl-gost-engine", [&in, ctx](uint8_t *out) {
            int length;
            EVP_EncryptInit_ex(ctx, nullptr, nullptr, nullptr, iv.data());
            EVP_EncryptUpdate(ctx, out, &length, in.data(), static_cast<int>(in.size()));
        });
    }
#endif
}

void add_cfb(const Bytes &in, bool encrypt)
{
    Workload work(encrypt ? "gost28147-cfb-encrypt" : "gost28147-cfb-decrypt", size_name(in.size()),
                  in.size(), in.size());
    static g28147_cfb_ctx begun;
    g28147_cfb_init_ext(&begun, 1, key.data(), iv.data(), table());
    work.contender("qal", [&in, encrypt](uint8_t *out) {
        g28147_cfb_ctx ctx = begun;
        ctx.direction = encrypt;
        g28147_cfb_update(&ctx, in.data(), out, in.size());
    });
#if QAL_BENCH_GCRYPT
    static const auto handle = gcrypt_cipher(GCRY_CIPHER_MODE_CFB);
    work.contender("libgcrypt", [&in, encrypt](uint8_t *out) {
        gcry_cipher_setiv(handle, iv.data(), iv.size());
        encrypt ? gcry_cipher_encrypt(handle, out, in.size(), in.data(), in.size())
                : gcry_cipher_decrypt(handle, out, in.size(), in.data(), in.size());
    });
#endif
#if QAL_BENCH_BOTAN
    auto *const cipher = // for as long as the program runs
        Botan::Cipher_Mode::create_or_throw("GOST-28147-89(R3411_CryptoPro)/CFB",
                                            encrypt ? Botan::ENCRYPTION : Botan::DECRYPTION)
            .release();
    cipher->set_key(key.data(), key.size());
    work.contender_apart("botan", [&in, cipher](uint8_t *out) {
        std::copy(in.begin(), in.end(), out);
        cipher->start(iv.data(), iv.size());
        cipher->process(out, in.size());
    });
#endif
#if QAL_BENCH_CRYPTOPP
    static CryptoPP::CFB_Mode<CryptoPP::GOST>::Encryption encryption(key.data(), key.size(),
                                                                     iv.data());
    static CryptoPP::CFB_Mode<CryptoPP::GOST>::Decryption decryption(key.data(), key.size(),
                                                                     iv.data());
    work.contender_apart("crypto++", [&in, encrypt](uint8_t *out) {
        CryptoPP::SymmetricCipher &mode =
            encrypt ? static_cast<CryptoPP::SymmetricCipher &>(encryption) : decryption;
        mode.Resynchronize(iv.data());
        mode.ProcessData(out, in.data(), in.size());
    });
#endif
}

void add_mac(const Bytes &in)
{
    Workload work("gost28147-mac", size_name(in.size()), in.size(), 4);
    static g28147_hmac_ctx begun;
    g28147_hmac_init_ext(&begun, key.data(), table());
    work.contender("qal", [&](uint8_t *out) {
        g28147_hmac_ctx ctx = begun;
        g28147_hmac_update(&ctx, in.data(), in.size());
        g28147_hmac_final(&ctx, out);
    });
#if QAL_BENCH_GCRYPT
    gcry_mac_hd_t handle = nullptr; // for as long as the program runs
    gcry_mac_open(&handle, GCRY_MAC_GOST28147_IMIT, 0, nullptr);
    gcry_mac_ctl(handle, GCRYCTL_SET_SBOX, const_cast<char *>("1.2.643.2.2.31.1"), 0);
    gcry_mac_setkey(handle, key.data(), key.size());
    // It changes its key every KiB where the standard's set for that is chosen, which this is.
    work.contender_apart("libgcrypt", [&in, handle](uint8_t *out) {
        size_t length = 4;
        gcry_mac_reset(handle);
        gcry_mac_write(handle, in.data(), in.size());
        gcry_mac_read(handle, out, &length);
    });
#endif
#if QAL_BENCH_CRYPTO
    if (gost_engine()) {
        EVP_MD_CTX *const ctx = EVP_MD_CTX_new(); // for as long as the program runs
        EVP_PKEY *const mac_key =
            EVP_PKEY_new_mac_key(EVP_PKEY_type(OBJ_txt2nid("gost-mac")), gost_engine(), key.data(),
                                 static_cast<int>(key.size()));
        const EVP_MD *const md = EVP_get_digestbyname("gost-mac");
        if (mac_key != nullptr)
            // The engine changes its key every KiB.
            work.contender_apart("openssl-gost-engine", [&in, ctx, mac_key, md](uint8_t *out) {
                size_t length = 4;
                EVP_DigestSignInit(ctx, nullptr, md, gost_engine(), mac_key);
                EVP_DigestSignUpdate(ctx, in.data(), in.size());
                EVP_DigestSignFinal(ctx, out, &length);
                EVP_MD_CTX_reset(ctx);
            });
    }
#endif
}

void add_hash(const Bytes &in)
{
    Workload work("gost94", size_name(in.size()), in.size(), 32);
    work.contender("qal", [&](uint8_t *out) {
        gr341194_md_ctx ctx;
        gr341194_md_init_ext(&ctx, CryptoPro_iv, CryptoPro_uz);
        gr341194_md_update(&ctx, in.data(), in.size());
        gr341194_md_final(&ctx, out);
    });
#if QAL_BENCH_GCRYPT
    work.contender("libgcrypt", [&](uint8_t *out) {
        gcry_md_hash_buffer(GCRY_MD_GOSTR3411_CP, out, in.data(), in.size());
    });
#endif
#if QAL_BENCH_NETTLE
    work.contender("nettle", [&](uint8_t *out) {
        gosthash94cp_ctx ctx;
        gosthash94cp_init(&ctx);
        gosthash94cp_update(&ctx, in.size(), in.data());
        gosthash94cp_digest(&ctx, 32, out);
    });
#endif
#if QAL_BENCH_BOTAN
    static auto *const hash = // for as long as the program runs
        Botan::HashFunction::create_or_throw("GOST-R-34.11-94").release();
    work.contender("botan", [&](uint8_t *out) {
        hash->update(in.data(), in.size());
        hash->final(out);
    });
#endif
#if QAL_BENCH_CRYPTO
    if (gost_engine()) {
        const EVP_MD *const md = EVP_get_digestbyname("md_gost94");
        work.contender("openssl-gost-engine", [&in, md](uint8_t *out) {
            EVP_Digest(in.data(), in.size(), out, nullptr, md, gost_engine());
        });
    }
#endif
}

// What a key needs before the first block.
void add_key_setup()
{
    Workload work("gost28147-keys", "32B", 0, 0);
    work.contender("qal", [](uint8_t *) {
        g28147_ecb_ctx ctx;
        g28147_ecb_init_ext(&ctx, 1, key.data(), table());
        benchmark::DoNotOptimize(ctx);
    });
#if QAL_BENCH_GCRYPT
    static const auto handle = gcrypt_cipher(GCRY_CIPHER_MODE_ECB);
    work.contender("libgcrypt",
                   [](uint8_t *) { gcry_cipher_setkey(handle, key.data(), key.size()); });
#endif
#if QAL_BENCH_BOTAN
    static auto *const cipher = // for as long as the program runs
        Botan::BlockCipher::create_or_throw("GOST-28147-89(R3411_CryptoPro)").release();
    work.contender("botan", [](uint8_t *) { cipher->set_key(key.data(), key.size()); });
#endif
#if QAL_BENCH_CRYPTOPP
    static CryptoPP::GOST::Encryption gost;
    work.contender("crypto++", [](uint8_t *) { gost.SetKey(key.data(), key.size()); });
#endif
}

// Eight rows of four bits become tables of a byte each. Others have theirs made beforehand.
void add_sbox_setup()
{
    Workload work("gost28147-sbox", "128B", 0, 4096);
    static const Bytes sbox = packed_rows();
    work.contender("qal", [](uint8_t *out) {
        g28147_make_kext(reinterpret_cast<uint32_t *>(out), sbox.data());
    });
}

} // namespace

int main(int argc, char **argv)
{
    std::vector<Bytes> messages;
    for (const size_t size : message_sizes)
        messages.push_back(material("message", size));
    return run_benchmarks(argc, argv, [&] {
        for (const Bytes &message : messages) {
            add_ecb(message);
            add_gamma(message);
            add_cfb(message, true);
            add_cfb(message, false);
            add_mac(message);
            add_hash(message);
        }
        add_key_setup();
        add_sbox_setup();
    });
}
