// The files that the command-line tool reads: hexadecimal, PEM, DER, keys, domains, lists of
// digests. What can be read can be written and read again; everything else is refused by the
// exceptions that the tool reports.
#include "input.hpp"

#include "../tools/qal/checklist.hpp"
#include "../tools/qal/der_numbers.hpp"
#include "../tools/qal/gost_domains.hpp"
#include "../tools/qal/gost_keys.hpp"
#include "../tools/qal/pem.hpp"
#include "../tools/qal/rsa_keys.hpp"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>

using qal::fuzz::Bytes;
using namespace qal::tool;

namespace {

std::string text_of(const Bytes &bytes)
{
    return {bytes.begin(), bytes.end()};
}

Bytes bytes_of(const Secret &secret)
{
    return {secret.data(), secret.data() + secret.size()};
}

// What `read` gives; nothing if it refuses.
template<typename Read>
auto unless_refused(Read read) -> std::optional<decltype(read())>
{
    try {
        return read();
    } catch (const std::runtime_error &error) {
        EXPECT_STRNE(error.what(), "");
        return std::nullopt;
    }
}

// Files of this process, gone at its end.
class Folder {
public:
    Folder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "qal-fuzz-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr)
            throw std::runtime_error("no folder " + name);
        path_ = name;
    }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
    ~Folder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    [[nodiscard]] std::string file(const char *name) const { return (path_ / name).string(); }
    [[nodiscard]] std::string file(const char *name, const Bytes &contents) const
    {
        std::ofstream(file(name), std::ios::binary) << text_of(contents);
        return file(name);
    }

private:
    std::filesystem::path path_;
};

const Folder &folder()
{
    static const Folder one;
    return one;
}

void check_hex(qal::fuzz::Input &in)
{
    const Bytes bytes = in.rest();
    ASSERT_EQ(from_hex(to_hex(bytes)), bytes);
    const std::string text = text_of(bytes);
    if (const auto value = from_hex(text)) {
        std::string lower = text;
        std::transform(lower.begin(), lower.end(), lower.begin(),
                       [](char c) { return c >= 'A' && c <= 'F' ? static_cast<char>(c + 32) : c; });
        ASSERT_EQ(to_hex(*value), lower);
        const auto secret =
            unless_refused([&] { return secret_from_hex(text, value->size(), "text"); });
        ASSERT_TRUE(secret.has_value());
        ASSERT_EQ(bytes_of(*secret), *value);
    }
}

void check_pem(qal::fuzz::Input &in)
{
    const std::string text = text_of(in.rest());
    if (const auto label = pem_label(text)) {
        if (const auto contents = from_pem(text, *label)) {
            const Secret again = to_pem(*contents, *label);
            ASSERT_EQ(pem_label(again.text()), label);
            const auto same = from_pem(again.text(), *label);
            ASSERT_TRUE(same.has_value());
            ASSERT_EQ(bytes_of(*same), bytes_of(*contents));
        }
    }
    const Secret pem = to_pem(Bytes(text.begin(), text.end()), "A LABEL");
    ASSERT_EQ(pem_label(pem.text()), "A LABEL");
    const auto back = from_pem(pem.text(), "A LABEL");
    ASSERT_EQ(back.has_value(), !text.empty()); // no structure is empty
    if (back) {
        ASSERT_EQ(text_of(bytes_of(*back)), text);
    }
}

void check_der(qal::fuzz::Input &in)
{
    const Bytes der = in.rest();
    const auto numbers = from_der(der);
    if (!numbers)
        return;
    for (const Secret &number : *numbers)
        ASSERT_TRUE(number.size() == 0 || number.data()[0] != 0);
    // Not the same bytes: lengths and leading zeros may have been longer than needed.
    const Secret again = to_der(*numbers);
    ASSERT_LE(again.size(), der.size());
    const auto same = from_der(again);
    ASSERT_TRUE(same.has_value());
    ASSERT_EQ(same->size(), numbers->size());
    for (size_t i = 0; i < numbers->size(); i++)
        ASSERT_EQ(bytes_of((*same)[i]), bytes_of((*numbers)[i]));
}

void check_list(qal::fuzz::Input &in)
{
    const std::string text = text_of(in.rest());
    if (const auto parts = parse_listed(text)) {
        ASSERT_FALSE(parts->hex.empty());
        ASSERT_TRUE(!parts->tag.empty() ||
                    from_hex(std::string(parts->hex) + std::string(parts->hex)));
    }

    // Lines as they are written for a name that is anything.
    const std::string digest = "0123456789abcdef";
    const std::string plain = line_about(text, digest + "  ", ""),
                      tagged = line_about(text, "A-TAG (", ") = " + digest);
    for (const std::string *written : {&plain, &tagged}) {
        const std::string &line = *written;
        ASSERT_EQ(line.find('\n'), line.size() - 1);
        const auto parts = parse_listed(std::string_view(line).substr(0, line.size() - 1));
        ASSERT_EQ(parts.has_value(), !text.empty());
        if (!parts)
            continue;
        ASSERT_EQ(parts->name, text);
        ASSERT_EQ(parts->hex, digest);
        ASSERT_EQ(parts->tag, written == &plain ? "" : "A-TAG");
    }
}

void check_gost_keys(qal::fuzz::Input &in)
{
    const std::string text = text_of(in.rest());
    if (const auto key = unless_refused([&] { return parse_private_key(text, "key"); })) {
        ASSERT_EQ(key->value.size(), private_key_size);
        if (!key->use.domain.empty()) {
            const Secret pem = private_key_pem(key->value, key->use);
            const GostPrivateKey same = parse_private_key(pem.text(), "key");
            ASSERT_EQ(bytes_of(same.value), bytes_of(key->value));
            ASSERT_EQ(domain_identifier(same.use.domain), domain_identifier(key->use.domain));
            ASSERT_EQ(same.use.hash, key->use.hash);
        }
    }
    if (const auto key = unless_refused([&] { return parse_public_key(text, "key"); })) {
        ASSERT_EQ(key->value.size(), public_key_size);
        if (!key->use.domain.empty()) {
            const GostPublicKey same =
                parse_public_key(public_key_pem(key->value, key->use), "key");
            ASSERT_EQ(same.value, key->value);
            ASSERT_EQ(domain_identifier(same.use.domain), domain_identifier(key->use.domain));
            ASSERT_EQ(same.use.hash, key->use.hash);
        }
    }
}

void check_gost_domain(qal::fuzz::Input &in)
{
    const std::string file = folder().file("domain", in.rest());
    const auto domain = unless_refused([&] { return domain_from_file(file); });
    if (!domain)
        return;
    std::string lines = "# again\n";
    Bytes numbers[6];
    for (Bytes &number : numbers)
        number.resize(32);
    ASSERT_EQ(rds_get_prms(&domain->ctx, numbers[0].data(), numbers[1].data(), numbers[2].data(),
                           numbers[3].data(), numbers[4].data(), numbers[5].data()),
              0);
    for (size_t i = 0; i < 6; i++)
        lines += std::string(1, "pabqxy"[i]) + " = " + to_hex(numbers[i]) + "\n";
    const GostDomain same =
        domain_from_file(folder().file("again", Bytes(lines.begin(), lines.end())));
    ASSERT_EQ(std::memcmp(&same.ctx, &domain->ctx, sizeof same.ctx), 0);
}

void check_rsa_keys(qal::fuzz::Input &in)
{
    const bool pem = in.flag();
    const std::string file = folder().file("key", in.rest());
    const Bytes message(256, 1);
    Bytes out(256);
    if (const auto key = unless_refused([&] { return RsaPublicKey(file, pem); })) {
        const size_t size = key->modulus_size();
        ASSERT_EQ(
            rsa_encrypt(out.data(), message.data(), static_cast<uint32_t>(size), key->bytes()), 0);
        for (const KeyFormat format : {KeyFormat::library, KeyFormat::pem}) {
            key->write(folder().file("again"), format);
            const RsaPublicKey same(folder().file("again"), format == KeyFormat::pem);
            ASSERT_EQ(std::memcmp(same.bytes(), key->bytes(), size + 2), 0);
        }
    }
    unless_refused([&] {
        const RsaPrivateKey key(file, pem);
        const Secret bytes = key.bytes();
        EXPECT_EQ(rsa_sign(out.data(), message.data(), 0, bytes.data()), 0);
        for (const KeyFormat format : {KeyFormat::library, KeyFormat::pem}) {
            key.write(folder().file("again"), format, Existing::replaced);
            const RsaPrivateKey same(folder().file("again"), format == KeyFormat::pem);
            EXPECT_EQ(bytes_of(same.bytes()), bytes_of(bytes));
        }
        return true;
    });
}

} // namespace

QAL_FUZZ_TARGET
{
    static constexpr decltype(&check_hex) checks[] = {
        check_hex,       check_pem,         check_der,     check_list,
        check_gost_keys, check_gost_domain, check_rsa_keys};
    in.one_of(checks)(in);
}
