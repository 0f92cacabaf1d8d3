// qal dstu: keys, signatures and shared secrets of DSTU 4145-2002.
#include "arguments.hpp"
#include "checklist.hpp"
#include "commands.hpp"
#include "dstu_domains.hpp"
#include "errors.hpp"
#include "files.hpp"
#include "hash.hpp"
#include "hex.hpp"
#include "output.hpp"
#include "progress.hpp"
#include "randomness.hpp"
#include "secrets.hpp"
#include "soundness.hpp"

#include <qal/dhua.h>

#include <string.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace qal::tool {

namespace {

// A source that gives out one value: key generation makes of it the pair of keys that it begins.
const Secret *given_key;

int given_random(uint8_t *buf, uint32_t len)
{
    std::copy_n(given_key->data(), std::min<size_t>(len, given_key->size()), buf);
    return 0;
}

// The call of the library must have succeeded: its arguments were checked before.
void check(int code)
{
    if (code != DSTU_OK)
        throw std::logic_error("code " + std::to_string(code));
}

// One-time secrets.
struct Pool : SecretRecord<dstu_bspool> {
    Pool(const dstu_ctx &domain, qal_rnd source)
    {
        check(dstu_bspool_init(get(), &domain, source));
    }
};

struct Party {
    dstu_ctx ctx;

    explicit Party(const std::string &curve) { set_up(ctx, dstu_domain(curve)); }
    Party(const Party &) = delete;
    Party &operator=(const Party &) = delete;

    [[nodiscard]] size_t key_size() const { return static_cast<size_t>(ctx.key_len); }
    [[nodiscard]] size_t field_size() const { return static_cast<size_t>(ctx.field_len); }
    [[nodiscard]] size_t signature_size() const { return static_cast<size_t>(ctx.sig_len); }

    // Draws a private key, and gives its public one.
    Bytes generate(Secret &priv, qal_rnd source) const
    {
        Pool pool(ctx, source);
        Bytes pub(field_size());
        auto priv_len = static_cast<int32_t>(priv.size()), pub_len = ctx.field_len;
        check(dstu_gen_keys(&ctx, pool.get(), &priv_len, priv.data(), &pub_len, pub.data()));
        return pub;
    }
};

[[noreturn]] void refuse_private_key()
{
    throw std::runtime_error("the private key is zero or too long for the curve");
}

void require_sound(const Party &party, const Bytes &pub)
{
    const KeyFault fault = fault_of_key(party.ctx, pub);
    if (fault != KeyFault::none)
        throw std::runtime_error(std::string("the public key is ") + description(fault));
}

Bytes hexadecimal(const std::string &option, const std::string &text, size_t size)
{
    const auto bytes = from_hex(text);
    if (!bytes || (size != 0 && bytes->size() != size) || bytes->empty())
        throw CLI::ValidationError(
            option + ": not " +
            (size != 0 ? std::to_string(2 * size) + " " : std::string("pairs of ")) +
            "hexadecimal digits");
    return *bytes;
}

struct Options {
    std::string curve, output = "-", pub, peer, signature, digest;
    std::vector<std::string> files;
    bool cofactor = false, force = false;
    std::unique_ptr<SecretSource> key;
    CLI::Option *digest_option = nullptr, *files_option = nullptr;
};

Bytes hash_of(const std::string &name)
{
    const auto algorithms = hash_algorithms();
    const auto gost94 = std::find_if(algorithms.begin(), algorithms.end(),
                                     [](const auto &known) { return known.name == "gost94"; });
    const std::unique_ptr<Hash> hash = gost94->start();
    Input input(name);
    Progress progress(length_of(name).value_or(0));
    Bytes buffer;
    input.read_all(buffer, [&](const uint8_t *data, size_t size) {
        hash->update(data, size);
        progress.advance(size);
    });
    return hash->finish();
}

// Calls use(digest, name) for the digest that was given, with its text as a name, or those of all
// files; goes on behind a file that cannot be read.
template<typename Use>
bool each_digest(const Options &options, Use use)
{
    if (options.digest_option->count() > 0) {
        if (options.files_option->count() > 0)
            throw CLI::ValidationError("--digest takes no files");
        return use(hexadecimal("--digest", options.digest, 0), options.digest);
    }
    bool good = true;
    for (const std::string &name : names_of(*options.files_option)) {
        Bytes digest;
        try {
            digest = hash_of(name);
        } catch (const WriteError &) {
            throw;
        } catch (const std::runtime_error &error) {
            complain(error.what());
            good = false;
            continue;
        }
        good &= use(digest, name);
    }
    return good;
}

void print_named(const std::string &name, const std::string &before, const std::string &after)
{
    const EscapedName escaped = escape(name);
    print((escaped.changed ? "\\" : "") + before + escaped.text + after + "\n");
}

void write_secret(const std::string &name, const Secret &secret, Existing existing)
{
    const Secret line = line_of_hex(secret);
    Output output(name, Access::owner, existing);
    output.write(line.data(), line.size());
    output.commit();
}

bool generate(const Options &options)
{
    const Party party(options.curve);
    Secret priv(party.key_size());
    const Bytes pub = party.generate(priv, system_random);
    write_secret(options.output, priv, options.force ? Existing::replaced : Existing::kept);
    if (options.output != "-")
        print(to_hex(pub) + "\n");
    return true;
}

Bytes public_key_of(const Party &party, const Secret &key)
{
    // Checked first: a key that is too long would be cut off, and zero be asked for again for ever.
    qald d[QALBIG_SIZE];
    qalfromrbase256(d, key.data(), static_cast<uint32_t>(key.size()));
    const bool fits = d[0] != 0 && qalbitlen(d, 1) < qalbitlen(party.ctx.n, 1);
    explicit_bzero(d, sizeof d);
    if (!fits)
        refuse_private_key();
    given_key = &key;
    Secret again(party.key_size());
    return party.generate(again, given_random);
}

bool print_public(const Options &options)
{
    const Party party(options.curve);
    const Secret key = options.key->read(party.key_size());
    print(to_hex(public_key_of(party, key)) + "\n");
    return true;
}

bool sign(const Options &options)
{
    const Party party(options.curve);
    const Secret key = options.key->read(party.key_size());
    const Bytes pub = public_key_of(party, key);
    Pool pool(party.ctx, system_random);
    return each_digest(options, [&](const Bytes &digest, const std::string &name) {
        const auto bits = static_cast<int32_t>(8 * digest.size());
        Bytes signature(party.signature_size());
        auto size = party.ctx.sig_len;
        // Verified before anybody sees it: one that a fault has spoilt could tell the private key.
        if (dstu_sign(&party.ctx, pool.get(), party.ctx.key_len, key.data(), bits, digest.data(),
                      &size, signature.data()) != 0 ||
            dstu_verify(&party.ctx, party.ctx.field_len, pub.data(), bits, digest.data(), size,
                        signature.data()) != 0)
            throw std::runtime_error("the signature came out wrong and is not printed");
        print_named(name, to_hex(signature) + "  ", "");
        return true;
    });
}

bool verify(const Options &options)
{
    const auto party = std::make_unique<Party>(options.curve);
    const Bytes pub = hexadecimal("--public", options.pub, party->field_size());
    const Bytes signature = hexadecimal("--signature", options.signature, party->signature_size());
    if (options.files_option->count() > 1)
        throw CLI::ValidationError("one signature is for one file");
    require_sound(*party, pub);
    return each_digest(options, [&](const Bytes &digest, const std::string &name) {
        const bool valid = dstu_verify(&party->ctx, party->ctx.field_len, pub.data(),
                                       static_cast<int32_t>(8 * digest.size()), digest.data(),
                                       party->ctx.sig_len, signature.data()) == 0;
        print_named(name, "", valid ? ": OK" : ": FAILED");
        return valid;
    });
}

bool derive(const Options &options)
{
    const Party party(options.curve);
    const Bytes peer = hexadecimal("--peer", options.peer, party.field_size());
    // Of the prime order n, like all of its multiples by private keys and the cofactor: their x is
    // not zero.
    require_sound(party, peer);
    const Secret key = options.key->read(party.key_size());
    Secret shared(party.field_size());
    int32_t size;
    if (dhua_zz(&party.ctx, party.ctx.key_len, key.data(), party.ctx.field_len, peer.data(),
                options.cofactor ? 1 : 0, &size, shared.data()) != 0)
        refuse_private_key();
    write_secret(options.output, shared, Existing::replaced);
    return true;
}

std::vector<std::string> curve_names()
{
    std::vector<std::string> names;
    for (const DstuDomain &domain : dstu_domains())
        names.emplace_back(domain.name);
    return names;
}

// What every subcommand has; run(options) does the work and answers whether all went well.
template<typename Add, typename Run>
void add_subcommand(CLI::App &command, int &status, const char *name, const char *description,
                    Add add, Run run)
{
    auto options = std::make_shared<Options>();
    CLI::App *sub = command.add_subcommand(name, description);
    sub->add_option("-c,--curve", options->curve, "Curve: m163, m191, m257 or m431")
        ->required()
        ->check(CLI::IsMember(curve_names()))
        ->type_name("NAME");
    add(*sub, *options);
    sub->callback(
        [options, run, &status] { status = run(*options) ? exit_success : exit_failure; });
}

void take_key(CLI::App &sub, Options &options)
{
    options.key = std::make_unique<SecretSource>(sub, "key", true);
}

void take_output(CLI::App &sub, Options &options, const char *description)
{
    sub.add_option("-o,--output", options.output, description)->type_name("FILE");
}

void take_hashed(CLI::App &sub, Options &options)
{
    options.digest_option =
        sub.add_option("--digest", options.digest, "A digest instead of files")->type_name("HEX");
    options.files_option =
        sub.add_option("FILE", options.files, "Files, hashed with GOST R 34.11-94")->type_name("");
}

} // namespace

void add_dstu(CLI::App &app, int &status)
{
    CLI::App *command =
        app.add_subcommand("dstu", "Keys, signatures and shared secrets of DSTU 4145-2002");
    command->require_subcommand(1);
    command->footer("The curves are the recommended ones over the fields of these sizes. "
                    "Everything is printed\n"
                    "in hexadecimal, least significant byte first. Public keys that are not "
                    "multiples of the\n"
                    "base point are refused. Exit status: 0, 1 if something could not be read or "
                    "is not valid,\n"
                    "2 for a wrong command line.");
    add_subcommand(
        *command, status, "genkey", "Make a private key and print the public one",
        [](CLI::App &sub, Options &options) {
            take_output(sub, options,
                        "File for the private key; without it, that is printed alone");
            sub.add_flag("--force", options.force, "Replace a file that exists");
        },
        generate);
    add_subcommand(*command, status, "pubkey", "Print the public key of a private one", take_key,
                   print_public);
    add_subcommand(
        *command, status, "sign", "Print signatures of files or of a digest",
        [](CLI::App &sub, Options &options) {
            take_key(sub, options);
            take_hashed(sub, options);
        },
        sign);
    add_subcommand(
        *command, status, "verify", "Verify the signature of a file or of a digest",
        [](CLI::App &sub, Options &options) {
            sub.add_option("--public", options.pub, "The signer's public key")
                ->required()
                ->type_name("HEX");
            sub.add_option("--signature", options.signature, "The signature")
                ->required()
                ->type_name("HEX");
            take_hashed(sub, options);
        },
        verify);
    add_subcommand(
        *command, status, "derive", "Derive the secret shared with another party",
        [](CLI::App &sub, Options &options) {
            take_key(sub, options);
            sub.add_option("--peer", options.peer, "The other party's public key")
                ->required()
                ->type_name("HEX");
            sub.add_flag("--cofactor", options.cofactor, "Multiply by the curve's cofactor");
            take_output(sub, options, "File for the secret instead of standard output");
        },
        derive);
}

} // namespace qal::tool
