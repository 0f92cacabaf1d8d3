// qal rsa: makes keys, and signs, verifies, encrypts and decrypts numbers with them.
#include "arguments.hpp"
#include "checklist.hpp"
#include "commands.hpp"
#include "errors.hpp"
#include "files.hpp"
#include "output.hpp"
#include "rsa_keys.hpp"

#include <memory>
#include <stdexcept>

namespace qal::tool {

namespace {

struct Options {
    uint32_t bits = 2048;
    bool pem = false, force = false;
    std::string key, output = "-", signature, input = "-";
    CLI::Option *file_option = nullptr;

    [[nodiscard]] KeyFormat format() const { return pem ? KeyFormat::pem : KeyFormat::library; }
};

constexpr char warning[] =
    "These are the bare operations: the input is a number as long as the modulus, most\n"
    "significant byte first and less than the modulus, and it is raised to a power as it is.\n"
    "PADDING IS YOURS. Without a padding scheme such as those of PKCS #1, neither signatures\n"
    "nor ciphertexts are secure.\n\n";

constexpr char key_files[] =
    "Key files are the library's own bytes or PEM of PKCS #1 (RSA PRIVATE KEY, RSA PUBLIC KEY);\n"
    "either is taken where a key is read. Public exponents are 65537. The numbers of\n"
    "a private key are checked when it is read, and results with the public key.\n\n";

constexpr char statuses[] =
    "Exit status: 0, 1 if something could not be read or written or does not fit, 2 for a wrong\n"
    "command line.";

// What is to be signed or encrypted, verified or decrypted: bytes that are as many as the modulus
// has, and a number below it.
Secret read_number(const std::string &name, const RsaPublicKey &key)
{
    const size_t size = key.modulus_size();
    Secret number(size);
    Input input(name);
    size_t have = 0;
    while (have < size) {
        const size_t n = input.read(number.data() + have, size - have);
        if (n == 0)
            break;
        have += n;
    }
    uint8_t more;
    if (have < size || input.read(&more, 1) != 0)
        throw std::runtime_error(quote(name) + ": not " + std::to_string(size) +
                                 " bytes, the length of the modulus; padding is not done here");
    if (!key.is_above(number.data()))
        throw std::runtime_error(quote(name) + ": not a number below the modulus");
    return number;
}

void write_number(const std::string &name, const Secret &number, Access access)
{
    Output output(name, access);
    output.write(number.data(), number.size());
    output.commit();
}

void warn_of_size(size_t bits)
{
    if (bits < 1024)
        complain("warning: a key of " + std::to_string(bits) + " bits is no protection any more");
}

RsaPublicKey read_public_key(const Options &options)
{
    RsaPublicKey key(options.key, options.pem);
    warn_of_size(8 * key.modulus_size());
    return key;
}

// A result that a fault made wrong modulo one prime alone gives away the factors of the modulus
// (Boneh, DeMillo, Lipton 1997), so none goes out that the public key does not turn back.
void use_private_key(const Options &options, Access access)
{
    const RsaPrivateKey key(options.key, options.pem);
    const RsaPublicKey public_key = key.public_key();
    warn_of_size(8 * public_key.modulus_size());
    const Secret bytes = key.bytes(), m = read_number(options.input, public_key);
    Secret result(m.size());
    if (rsa_sign(result.data(), m.data(), static_cast<int32_t>(m.size()), bytes.data()) != 0)
        throw std::runtime_error(quote(options.key) + ": the key is of no use");
    if (rsa_verify(result.data(), m.data(), static_cast<uint32_t>(m.size()), public_key.bytes()) !=
        0)
        throw std::runtime_error("the result came out wrong and is not written");
    write_number(options.output, result, access);
}

void encrypt(const Options &options)
{
    const RsaPublicKey key = read_public_key(options);
    const Secret m = read_number(options.input, key);
    Secret result(m.size());
    if (rsa_encrypt(result.data(), m.data(), static_cast<uint32_t>(m.size()), key.bytes()) != 0)
        throw std::runtime_error(quote(options.key) + ": the key is of no use");
    write_number(options.output, result, Access::usual);
}

bool verify(const Options &options)
{
    const RsaPublicKey key = read_public_key(options);
    const Secret m = read_number(options.input, key);
    bool good = false;
    // A signature of another length, or one that is not below the modulus, is none.
    try {
        const Secret signature = read_number(options.signature, key);
        good = rsa_verify(signature.data(), m.data(), static_cast<uint32_t>(m.size()),
                          key.bytes()) == 0;
    } catch (const FileError &) {
        throw;
    } catch (const std::runtime_error &error) {
        complain(error.what());
    }
    const EscapedName name = escape(options.input);
    print((name.changed ? "\\" : "") + name.text + (good ? ": OK\n" : ": FAILED\n"));
    return good;
}

class Commands {
public:
    Commands(CLI::App &app, int &status)
        : group_(*app.add_subcommand("rsa", "Make RSA keys, and use them on bare numbers")),
          status_(status)
    {
        group_.require_subcommand(1);
        group_.footer(warning + std::string("qal rsa COMMAND --help has the rest."));
    }

    // Adds a command; run(options) gives whether all went well. `add` adds its options.
    template<typename Add, typename Run>
    void add(const char *name, const char *description, const std::string &footer, Add add, Run run)
    {
        auto options = std::make_shared<Options>();
        CLI::App *command = group_.add_subcommand(name, description);
        command->footer(footer + statuses);
        add(*command, *options);
        command->callback([options, run, &status = status_] {
            if (options->file_option != nullptr)
                options->input = names_of(*options->file_option).front();
            status = run(*options) ? exit_success : exit_failure;
        });
    }

private:
    CLI::App &group_;
    int &status_;
};

void add_key(CLI::App &command, Options &options, const char *what)
{
    command.add_option("-k,--key", options.key, what)->required()->type_name("FILE");
}

constexpr char only_pem[] = "Take nothing but PEM for a key";

void add_output(CLI::App &command, Options &options)
{
    command
        .add_option("-o,--output", options.output, "Where the result goes; - for standard output")
        ->type_name("FILE");
}

void add_pem(CLI::App &command, Options &options, const char *what)
{
    command.add_flag("--pem", options.pem, what);
}

void add_input(CLI::App &command, Options &options)
{
    options.file_option =
        command.add_option("FILE", options.input, "The number; - or none for standard input")
            ->type_name("");
}

} // namespace

void add_rsa(CLI::App &app, int &status)
{
    Commands commands(app, status);
    commands.add(
        "genkey", "Make a private key", std::string(key_files),
        [](CLI::App &command, Options &options) {
            command.add_option("-b,--bits", options.bits, "512, 1024, 1536 or 2048, the default")
                ->check(CLI::IsMember({512, 1024, 1536, 2048}))
                ->type_name("N");
            add_pem(command, options, "Write PEM");
            add_output(command, options);
            command.add_flag("--force", options.force, "Replace a file that exists");
        },
        [](const Options &options) {
            warn_of_size(options.bits);
            RsaPrivateKey(options.bits)
                .write(options.output, options.format(),
                       options.force ? Existing::replaced : Existing::kept);
            return true;
        });
    commands.add(
        "pubkey", "Write the public key that belongs to a private key", std::string(key_files),
        [](CLI::App &command, Options &options) {
            add_key(command, options, "Private key");
            add_pem(command, options, "Write PEM");
            add_output(command, options);
        },
        [](const Options &options) {
            const RsaPublicKey key = RsaPrivateKey(options.key).public_key();
            warn_of_size(8 * key.modulus_size());
            key.write(options.output, options.format());
            return true;
        });
    const std::string about_numbers = warning + std::string(key_files);
    commands.add(
        "sign", "Sign a number with a private key", about_numbers,
        [](CLI::App &command, Options &options) {
            add_key(command, options, "Private key");
            add_pem(command, options, only_pem);
            add_output(command, options);
            add_input(command, options);
        },
        [](const Options &options) {
            use_private_key(options, Access::usual);
            return true;
        });
    commands.add(
        "verify", "Verify the signature of a number", about_numbers,
        [](CLI::App &command, Options &options) {
            add_key(command, options, "Public key");
            add_pem(command, options, only_pem);
            command.add_option("-s,--signature", options.signature, "Signature")
                ->required()
                ->type_name("FILE");
            add_input(command, options);
        },
        [](const Options &options) { return verify(options); });
    commands.add(
        "encrypt", "Encrypt a number for the owner of a public key", about_numbers,
        [](CLI::App &command, Options &options) {
            add_key(command, options, "Public key");
            add_pem(command, options, only_pem);
            add_output(command, options);
            add_input(command, options);
        },
        [](const Options &options) {
            encrypt(options);
            return true;
        });
    commands.add(
        "decrypt", "Decrypt a number with a private key", about_numbers,
        [](CLI::App &command, Options &options) {
            add_key(command, options, "Private key");
            add_pem(command, options, only_pem);
            add_output(command, options);
            add_input(command, options);
        },
        [](const Options &options) {
            use_private_key(options, Access::owner_if_new);
            return true;
        });
}

} // namespace qal::tool
