// RSA keys and their files: the library's own bytes, or PEM of PKCS #1 (RFC 8017, appendix A.1).
#pragma once

#include "output.hpp"
#include "secrets.hpp"

#include <qal/rsa.h>

#include <array>
#include <string>

namespace qal::tool {

enum class KeyFormat { library, pem };

// What rsa_encrypt() and rsa_verify() take.
class RsaPublicKey {
public:
    explicit RsaPublicKey(const rsa_keygen_ctx &key);
    // In either format, or in PEM alone; throws std::runtime_error.
    explicit RsaPublicKey(const std::string &file, bool pem = false);

    void write(const std::string &file, KeyFormat format) const;

    [[nodiscard]] const uint8_t *bytes() const { return bytes_.data(); }
    [[nodiscard]] size_t modulus_size() const;
    // Whether a message of as many bytes as the modulus is a number below it.
    [[nodiscard]] bool is_above(const uint8_t *message) const;

private:
    Bytes bytes_;
};

// What rsa_sign() and rsa_decrypt() take.
class RsaPrivateKey {
public:
    explicit RsaPrivateKey(uint32_t bits); // a new one
    // In either format, or in PEM alone; throws std::runtime_error.
    explicit RsaPrivateKey(const std::string &file, bool pem = false);
    RsaPrivateKey(const RsaPrivateKey &) = delete;
    RsaPrivateKey &operator=(const RsaPrivateKey &) = delete;

    // The file can be read by its owner alone.
    void write(const std::string &file, KeyFormat format, Existing existing) const;

    [[nodiscard]] Secret bytes() const;
    [[nodiscard]] RsaPublicKey public_key() const { return RsaPublicKey(*key_); }

private:
    [[nodiscard]] Secret pem() const;
    void check(const std::string &file);

    SecretRecord<rsa_keygen_ctx> key_;
};

} // namespace qal::tool
