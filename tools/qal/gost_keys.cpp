#include "gost_keys.hpp"

#include "gost_domains.hpp"
#include "pem.hpp"

#include <libtasn1.h>

#include <algorithm>
#include <array>
#include <stdexcept>

extern "C" {
extern const asn1_static_node qal_gost_asn1[]; // made from gost.asn
}

namespace qal::tool {

namespace {

// Object identifiers of a key and of the digests that it signs: RFC 4357, RFC 7091 (RFC 9215).
struct Kind {
    const char *hash, *algorithm, *digest;
};

constexpr Kind kinds[] = {
    {"gost94", "1.2.643.2.2.19", "1.2.643.2.2.30.1"},
    {"streebog-256", "1.2.643.7.1.1.1.1", "1.2.643.7.1.1.2.2"},
};

constexpr char private_label[] = "PRIVATE KEY", public_label[] = "PUBLIC KEY";

Secret pem_contents(std::string_view text, const char *label, const std::string &name)
{
    auto der = from_pem(text, label);
    if (!der)
        throw std::runtime_error(name + ": not a well-formed " + label + " in PEM");
    return std::move(*der);
}

void require(int result, const std::string &name)
{
    if (result != ASN1_SUCCESS)
        throw std::runtime_error(name + ": not the structure of a GOST key (" +
                                 asn1_strerror(result) + ")");
}

// A structure of gost.asn, erased when it goes.
class Element {
public:
    Element(const char *type, std::string name) : name_(std::move(name))
    {
        require(asn1_array2tree(qal_gost_asn1, &definitions_, nullptr), name_);
        const int result = asn1_create_element(definitions_, type, &node_);
        if (result != ASN1_SUCCESS)
            asn1_delete_structure(&definitions_);
        require(result, name_);
    }
    Element(const Element &) = delete;
    Element &operator=(const Element &) = delete;
    ~Element()
    {
        asn1_delete_structure2(&node_, ASN1_DELETE_FLAG_ZEROIZE);
        asn1_delete_structure(&definitions_);
    }

    void decode(std::span<const uint8_t> der)
    {
        require(asn1_der_decoding(&node_, der.data(), static_cast<int>(der.size()), nullptr),
                name_);
    }

    [[nodiscard]] Secret encode() const
    {
        int size = 0;
        if (asn1_der_coding(node_, "", nullptr, &size, nullptr) != ASN1_MEM_ERROR)
            throw std::runtime_error(name_ + ": cannot be encoded");
        Secret der(static_cast<size_t>(size));
        require(asn1_der_coding(node_, "", der.data(), &size, nullptr), name_);
        return Secret(std::span<const uint8_t>(der.data(), static_cast<size_t>(size)));
    }

    void write(const char *path, const char *text)
    {
        require(asn1_write_value(node_, path, text, 1), name_);
    }

    void write(const char *path, std::span<const uint8_t> bytes, size_t unit)
    {
        require(asn1_write_value(node_, path, bytes.data(), static_cast<int>(bytes.size() * unit)),
                name_);
    }

    void leave_out(const char *path) { require(asn1_write_value(node_, path, nullptr, 0), name_); }

    [[nodiscard]] std::string identifier(const char *path) const
    {
        std::array<char, 128> text{};
        int size = text.size();
        require(asn1_read_value(node_, path, text.data(), &size), name_);
        return text.data();
    }

    // Of at most 127 bytes. unit is 8 for bit strings, which are counted in bits.
    [[nodiscard]] Secret read(const char *path, int unit) const
    {
        Secret bytes(128);
        int size = 128;
        require(asn1_read_value(node_, path, bytes.data(), &size), name_);
        if (size % unit != 0)
            throw std::runtime_error(name_ + ": malformed key");
        return Secret(std::span<const uint8_t>(bytes.data(), static_cast<size_t>(size / unit)));
    }

private:
    std::string name_;
    asn1_node definitions_ = nullptr, node_ = nullptr;
};

GostKeyUse read_use(const Element &element, const std::string &name)
{
    const std::string algorithm = element.identifier("algorithm.algorithm"),
                      set = element.identifier("algorithm.parameters.publicKeyParamSet");
    const auto kind = std::find_if(std::begin(kinds), std::end(kinds),
                                   [&](const Kind &k) { return k.algorithm == algorithm; });
    if (kind == std::end(kinds))
        throw std::runtime_error(name + ": not a GOST key of 256 bits");
    GostKeyUse use{domain_of_identifier(set), kind->hash};
    if (use.domain.empty())
        throw std::runtime_error(name + ": unknown parameter set " + set);
    return use;
}

void write_use(Element &element, const GostKeyUse &use)
{
    const Kind &kind = *std::find_if(std::begin(kinds), std::end(kinds),
                                     [&](const Kind &k) { return k.hash == use.hash; });
    element.write("algorithm.algorithm", kind.algorithm);
    element.write("algorithm.parameters.publicKeyParamSet", domain_identifier(use.domain).c_str());
    element.write("algorithm.parameters.digestParamSet", kind.digest);
    element.leave_out("algorithm.parameters.encryptionParamSet");
}

// An octet string in DER inside of another string: two bytes and the contents.
bool is_octet_string(std::span<const uint8_t> der, size_t size)
{
    return der.size() == size + 2 && der[0] == 0x04 && der[1] == size;
}

} // namespace

GostPrivateKey parse_private_key(std::string_view text, const std::string &name)
{
    if (!pem_label(text))
        return {secret_from_hex(text, private_key_size, name), {}};
    Element info("GOST.PrivateKeyInfo", name);
    info.decode(pem_contents(text, private_label, name));
    GostKeyUse use = read_use(info, name);
    const Secret contents = info.read("privateKey", 1);
    std::span<const uint8_t> value = contents;
    // Some wrap the value once more.
    if (is_octet_string(value, private_key_size))
        value = value.subspan(2);
    if (value.size() != private_key_size)
        throw std::runtime_error(name + ": the key is not of " + std::to_string(private_key_size) +
                                 " bytes");
    GostPrivateKey key{Secret(value), std::move(use)};
    std::reverse(key.value.data(), key.value.data() + private_key_size);
    return key;
}

Secret private_key_pem(const Secret &value, const GostKeyUse &use)
{
    Secret contents{std::span<const uint8_t>(value)};
    std::reverse(contents.data(), contents.data() + contents.size());
    Element info("GOST.PrivateKeyInfo", "private key");
    info.write("version", "0");
    write_use(info, use);
    info.write("privateKey", contents, 1);
    info.leave_out("attributes");
    return to_pem(info.encode(), private_label);
}

GostPublicKey parse_public_key(std::string_view text, const std::string &name)
{
    GostPublicKey key{Bytes(public_key_size), {}};
    if (!pem_label(text)) {
        const Secret value = secret_from_hex(text, public_key_size, name);
        std::copy(value.data(), value.data() + public_key_size, key.value.begin());
        return key;
    }
    Element info("GOST.SubjectPublicKeyInfo", name);
    info.decode(pem_contents(text, public_label, name));
    key.use = read_use(info, name);
    const Secret contents = info.read("subjectPublicKey", 8);
    if (!is_octet_string(contents, public_key_size))
        throw std::runtime_error(name + ": the key is not of " + std::to_string(public_key_size) +
                                 " bytes");
    const uint8_t *const value = contents.data() + 2;
    std::reverse_copy(value, value + 32, key.value.begin());
    std::reverse_copy(value + 32, value + 64, key.value.begin() + 32);
    return key;
}

std::string public_key_pem(const Bytes &value, const GostKeyUse &use)
{
    Bytes contents{0x04, public_key_size};
    contents.insert(contents.end(), value.rend() - 32, value.rend());
    contents.insert(contents.end(), value.rbegin(), value.rbegin() + 32);
    Element info("GOST.SubjectPublicKeyInfo", "public key");
    write_use(info, use);
    info.write("subjectPublicKey", contents, 8);
    return std::string(to_pem(info.encode(), public_label).text());
}

} // namespace qal::tool
