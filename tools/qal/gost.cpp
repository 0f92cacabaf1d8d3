// qal gost: keys, signatures and key agreement of GOST R 34.10-2001.
#include "arguments.hpp"
#include "checklist.hpp"
#include "commands.hpp"
#include "errors.hpp"
#include "files.hpp"
#include "gost_domains.hpp"
#include "gost_keys.hpp"
#include "hash.hpp"
#include "output.hpp"
#include "progress.hpp"
#include "randomness.hpp"
#include "secrets.hpp"
#include "soundness.hpp"

#include <qal/rds.h>
#include <qal/vko341001.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace qal::tool {

namespace {

constexpr size_t kek_size = 32, ukm_size = 8;
const char *const hash_names[] = {"gost94", "streebog-256"};

struct Options {
    std::string domain, domain_file, hash, public_key_file, signature_file, ukm, output = "-";
    bool pem = false, force = false;
    std::unique_ptr<SecretSource> key;
    CLI::Option *file_option = nullptr;
};

// The library refuses secrets that are out of range, which an order close to 2^254 makes three of
// four: another is drawn then.
template<typename Use>
void with_random_secret(Use use)
{
    Secret secret(private_key_size);
    do
        system_random(secret.data(), private_key_size);
    while (!use(secret));
}

std::string read_small_file(const std::string &name)
{
    std::string text;
    Bytes buffer;
    Input(name).read_all(buffer, [&](const uint8_t *data, size_t size) {
        text.append(reinterpret_cast<const char *>(data), size);
        if (text.size() > 65536)
            throw std::runtime_error(quote(name) + ": too long");
    });
    return text;
}

void write_output(const std::string &name, std::span<const uint8_t> data,
                  Access access = Access::usual, Existing existing = Existing::replaced)
{
    Output output(name, access, existing);
    output.write(data.data(), data.size());
    output.commit();
}

void write_output(const std::string &name, std::string_view text)
{
    write_output(name, std::span(reinterpret_cast<const uint8_t *>(text.data()), text.size()));
}

// A line of hexadecimal digits that nobody else may read.
void write_secret_line(const std::string &name, const Secret &secret,
                       Existing existing = Existing::replaced)
{
    write_output(name, line_of_hex(secret), Access::owner, existing);
}

// What the command line and the keys say together.
GostKeyUse common_use(const Options &options, std::initializer_list<const GostKeyUse *> keys)
{
    GostKeyUse use{options.domain, options.hash};
    for (const GostKeyUse *key : keys) {
        if (!key->domain.empty() && !options.domain_file.empty())
            throw std::runtime_error("the key is for " + key->domain + ", not for parameters of " +
                                     "a file");
        if (!key->domain.empty() && !use.domain.empty() && key->domain != use.domain)
            throw std::runtime_error("the key is for " + key->domain + ", not for " + use.domain);
        if (!key->hash.empty() && !use.hash.empty() && key->hash != use.hash)
            throw std::runtime_error("the key is for " + key->hash + ", not for " + use.hash);
        if (use.domain.empty())
            use.domain = key->domain;
        if (use.hash.empty())
            use.hash = key->hash;
    }
    if (use.domain.empty() && options.domain_file.empty())
        use.domain = domain_names().front();
    if (use.hash.empty())
        use.hash = hash_names[0];
    return use;
}

GostDomain domain_of(const Options &options, const GostKeyUse &use)
{
    return options.domain_file.empty() ? named_domain(use.domain)
                                       : domain_from_file(options.domain_file);
}

void require_named_domain(const Options &options)
{
    if (options.pem && !options.domain_file.empty())
        throw CLI::ValidationError("--pem needs a named curve");
}

GostPrivateKey read_private_key(const Options &options)
{
    return parse_private_key(options.key->read_text().text(), options.key->name());
}

GostPublicKey read_public_key(const Options &options)
{
    return parse_public_key(read_small_file(options.public_key_file),
                            quote(options.public_key_file));
}

void require_sound(const GostDomain &domain, const GostPublicKey &key, const Options &options)
{
    const KeyFault fault = fault_of_key(domain.ctx, key.value);
    if (fault != KeyFault::none)
        throw std::runtime_error(quote(options.public_key_file) + ": " + description(fault));
}

// Of a private key, which must be from 1 to q - 1.
Bytes public_key_of(const GostDomain &domain, const GostPrivateKey &key, const Options &options)
{
    Bytes pubkey(public_key_size);
    if (rds_gen_keys(&domain.ctx, key.value.data(), pubkey.data()) != 0)
        throw std::runtime_error(options.key->name() + ": out of range for this curve");
    return pubkey;
}

// The digest as the number that is signed: digests are numbers whose least significant byte comes
// first, the library's arguments begin with the most significant one.
Bytes digest_of(const std::string &name, const std::string &hash)
{
    const auto algorithms = hash_algorithms();
    const auto algorithm = std::find_if(algorithms.begin(), algorithms.end(),
                                        [&](const HashAlgorithm &a) { return a.name == hash; });
    const auto running = algorithm->start();
    Input input(name);
    Progress progress(length_of(name).value_or(0));
    Bytes buffer;
    input.read_all(buffer, [&](const uint8_t *data, size_t size) {
        running->update(data, size);
        progress.advance(size);
    });
    Bytes digest = running->finish();
    std::reverse(digest.begin(), digest.end());
    return digest;
}

void generate(const Options &options)
{
    require_named_domain(options);
    const GostKeyUse use = common_use(options, {});
    const GostDomain domain = domain_of(options, use);
    const Existing existing = options.force ? Existing::replaced : Existing::kept;
    with_random_secret([&](const Secret &d) {
        Bytes pubkey(public_key_size);
        if (rds_gen_keys(&domain.ctx, d.data(), pubkey.data()) != 0)
            return false;
        if (options.pem)
            write_output(options.output, private_key_pem(d, use), Access::owner, existing);
        else
            write_secret_line(options.output, d, existing);
        return true;
    });
}

void derive_public_key(const Options &options)
{
    require_named_domain(options);
    const GostPrivateKey key = read_private_key(options);
    const GostKeyUse use = common_use(options, {&key.use});
    const GostDomain domain = domain_of(options, use);
    const Bytes pubkey = public_key_of(domain, key, options);
    write_output(options.output, options.pem ? public_key_pem(pubkey, use) : to_hex(pubkey) + "\n");
}

void sign(const Options &options, const std::string &name)
{
    const GostPrivateKey key = read_private_key(options);
    const GostKeyUse use = common_use(options, {&key.use});
    const GostDomain domain = domain_of(options, use);
    const Bytes pubkey = public_key_of(domain, key, options), digest = digest_of(name, use.hash);
    Bytes signature(signature_size);
    with_random_secret([&](const Secret &k) {
        return rds_sign(&domain.ctx, key.value.data(), k.data(), digest.data(), signature.data()) ==
               0;
    });
    // Verified before anybody sees it: one that a fault has spoilt could tell the private key.
    if (rds_verify(&domain.ctx, pubkey.data(), digest.data(), signature.data()) != 0)
        throw std::runtime_error("the signature came out wrong and is not written");
    write_output(options.output, signature);
}

bool verify(const Options &options, const std::string &name)
{
    const GostPublicKey key = read_public_key(options);
    const GostKeyUse use = common_use(options, {&key.use});
    const GostDomain domain = domain_of(options, use);
    require_sound(domain, key, options);
    const std::string signature = read_small_file(options.signature_file);
    if (signature.size() != signature_size)
        throw std::runtime_error(quote(options.signature_file) + ": not " +
                                 std::to_string(signature_size) + " bytes");
    const Bytes digest = digest_of(name, use.hash);
    const bool valid = rds_verify(&domain.ctx, key.value.data(), digest.data(),
                                  reinterpret_cast<const uint8_t *>(signature.data())) == 0;
    print(line_about(name, "", valid ? ": OK" : ": FAILED"));
    return valid;
}

void agree(const Options &options)
{
    const auto ukm = from_hex(options.ukm);
    if (!ukm || ukm->size() != ukm_size)
        throw CLI::ValidationError("--ukm: not " + std::to_string(2 * ukm_size) +
                                   " hexadecimal digits");
    const GostPrivateKey key = read_private_key(options);
    const GostPublicKey peer = read_public_key(options);
    const GostDomain domain = domain_of(options, common_use(options, {&key.use, &peer.use}));
    // The agreement itself takes any point, and private keys up to p. With one of the prime order q
    // and a key below q, the shared point is not infinity.
    public_key_of(domain, key, options);
    require_sound(domain, peer, options);
    Secret kek(kek_size);
    switch (vko341001_gen_kek(&domain.ctx, kek.data(), key.value.data(), peer.value.data(),
                              ukm->data())) {
    case 0:
        write_secret_line(options.output, kek);
        return;
    case 6: // it is not below p, which is below q
        throw std::runtime_error(options.key->name() + ": out of range for this curve");
    default:
        throw CLI::ValidationError("--ukm must not be zero");
    }
}

std::shared_ptr<Options> add_common(CLI::App &command)
{
    auto options = std::make_shared<Options>();
    CLI::Option *const named =
        command
            .add_option("--curve", options->domain,
                        "Parameter set, by default the key's or " + domain_names().front())
            ->check(CLI::IsMember(domain_names()))
            ->type_name("NAME");
    command
        .add_option("--curve-file", options->domain_file,
                    "File with p, a, b, q, x and y = HEX, a line each; must be sound")
        ->excludes(named)
        ->type_name("FILE");
    return options;
}

void add_hash(CLI::App &command, Options &options)
{
    command
        .add_option("-a,--algorithm", options.hash,
                    std::string("Hash function of the signatures, by default the key's or ") +
                        hash_names[0])
        ->check(
            CLI::IsMember(std::vector<std::string>(std::begin(hash_names), std::end(hash_names))))
        ->type_name("NAME");
}

void add_output(CLI::App &command, Options &options)
{
    command
        .add_option("-o,--output", options.output, "Where the result goes; - for standard output")
        ->type_name("FILE");
}

void add_pem(CLI::App &command, Options &options)
{
    command.add_flag("--pem", options.pem, "Write PEM instead of hexadecimal digits");
}

void add_private_key(CLI::App &command, Options &options)
{
    options.key = std::make_unique<SecretSource>(command, "key", true, "hexadecimal or PEM");
}

void add_public_key(CLI::App &command, Options &options)
{
    command
        .add_option("--pubkey-file", options.public_key_file,
                    "File with the other's public key, in hexadecimal or PEM")
        ->required()
        ->type_name("FILE");
}

void add_input(CLI::App &command, Options &options)
{
    // Only its text is used, unmarked: see arguments.hpp.
    static std::string ignored;
    options.file_option =
        command.add_option("FILE", ignored, "The input; - or none for standard input")
            ->type_name("");
}

} // namespace

void add_gost(CLI::App &app, int &status)
{
    CLI::App *gost =
        app.add_subcommand("gost", "Keys, signatures and key agreement of GOST R 34.10-2001");
    gost->require_subcommand(1);
    gost->footer(
        "Private keys are 64, public keys (x, then y) 128 hexadecimal digits, most significant\n"
        "first, or PEM: PKCS#8 and SubjectPublicKeyInfo, which tell the curve and the hash "
        "function\n"
        "as well. Signatures are 64 bytes, s and then r. OpenSSL's GOST engine reads and writes\n"
        "the same. Public keys that are not multiples of the base point are refused, and so are\n"
        "curve files that do not hold what the standard demands of parameters.\n\n"
        "Exit status: 0, 1 if something could not be read or written or a signature is not valid,\n"
        "2 for a wrong command line.");

    CLI::App *command = gost->add_subcommand("genkey", "Draw a private key");
    auto options = add_common(*command);
    add_hash(*command, *options);
    add_pem(*command, *options);
    add_output(*command, *options);
    command->add_flag("--force", options->force, "Replace a file that exists");
    command->callback([options, &status] {
        generate(*options);
        status = exit_success;
    });

    command = gost->add_subcommand("pubkey", "Derive the public key of a private key");
    options = add_common(*command);
    add_private_key(*command, *options);
    add_hash(*command, *options);
    add_pem(*command, *options);
    add_output(*command, *options);
    command->callback([options, &status] {
        derive_public_key(*options);
        status = exit_success;
    });

    command = gost->add_subcommand("sign", "Sign a file");
    options = add_common(*command);
    add_private_key(*command, *options);
    add_hash(*command, *options);
    add_output(*command, *options);
    add_input(*command, *options);
    command->callback([options, &status] {
        sign(*options, names_of(*options->file_option).front());
        status = exit_success;
    });

    command = gost->add_subcommand("verify", "Verify the signature of a file");
    options = add_common(*command);
    add_public_key(*command, *options);
    command->add_option("--signature-file", options->signature_file, "File with the signature")
        ->required()
        ->type_name("FILE");
    add_hash(*command, *options);
    add_input(*command, *options);
    command->callback([options, &status] {
        status =
            verify(*options, names_of(*options->file_option).front()) ? exit_success : exit_failure;
    });

    command = gost->add_subcommand("kek", "Agree on a key encryption key (VKO)");
    options = add_common(*command);
    add_private_key(*command, *options);
    add_public_key(*command, *options);
    command->add_option("--ukm", options->ukm, "User keying material, 16 hexadecimal digits")
        ->required()
        ->type_name("HEX");
    add_output(*command, *options);
    command->callback([options, &status] {
        agree(*options);
        status = exit_success;
    });
}

} // namespace qal::tool
