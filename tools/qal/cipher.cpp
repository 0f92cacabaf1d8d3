// qal cipher: encrypts or decrypts a file or a pipe.
#include "arguments.hpp"
#include "commands.hpp"
#include "errors.hpp"
#include "files.hpp"
#include "output.hpp"
#include "progress.hpp"
#include "sboxes.hpp"
#include "secrets.hpp"

#include <qal/g28147.h>
#include <qal/kuzn.h>

#include <string.h>

#include <memory>
#include <stdexcept>

namespace qal::tool {

namespace {

// A computation.
class Cipher {
public:
    Cipher() = default;
    Cipher(const Cipher &) = delete;
    Cipher &operator=(const Cipher &) = delete;
    virtual ~Cipher() = default;

    // In place. All pieces but the last are whole numbers of blocks.
    virtual void update(uint8_t *data, size_t size) = 0;
};

template<typename Context>
class CipherWith : public Cipher {
protected:
    SecretRecord<Context> ctx_;
};

class Ecb : public CipherWith<g28147_ecb_ctx> {
public:
    Ecb(bool encrypt, const uint8_t *key, const uint8_t *, const uint32_t *table)
    {
        g28147_ecb_init_ext(ctx_.get(), encrypt ? 1 : 0, key, table);
    }

    void update(uint8_t *data, size_t size) override
    {
        if (size % 8 != 0)
            throw std::runtime_error("the input is not a whole number of blocks of 8 bytes, which "
                                     "gost28147-ecb needs");
        g28147_ecb_update(ctx_.get(), data, data, size);
    }
};

class Gamma : public CipherWith<g28147_ofb_ctx> {
public:
    Gamma(bool, const uint8_t *key, const uint8_t *iv, const uint32_t *table)
    {
        g28147_ofb_init_ext(ctx_.get(), key, iv, table);
    }

    void update(uint8_t *data, size_t size) override
    {
        g28147_ofb_update(ctx_.get(), data, data, size);
    }
};

class Cfb : public CipherWith<g28147_cfb_ctx> {
public:
    Cfb(bool encrypt, const uint8_t *key, const uint8_t *iv, const uint32_t *table)
    {
        g28147_cfb_init_ext(ctx_.get(), encrypt ? 1 : 0, key, iv, table);
    }

    void update(uint8_t *data, size_t size) override
    {
        g28147_cfb_update(ctx_.get(), data, data, size);
    }
};

class Ctr : public CipherWith<kuzn_ctr_ctx> {
public:
    Ctr(bool, const uint8_t *key, const uint8_t *iv, const uint32_t *)
    {
        kuzn_ctr_init(ctx_.get(), iv, key);
    }

    void update(uint8_t *data, size_t size) override
    {
        kuzn_ctr_update(ctx_.get(), data, data, size);
    }
};

template<typename Mode>
std::unique_ptr<Cipher> start(bool encrypt, const uint8_t *key, const uint8_t *iv,
                              const uint32_t *table)
{
    return std::make_unique<Mode>(encrypt, key, iv, table);
}

struct CipherAlgorithm {
    const char *name;
    size_t iv_size;
    bool has_sbox;
    std::unique_ptr<Cipher> (*start)(bool encrypt, const uint8_t *key, const uint8_t *iv,
                                     const uint32_t *table);
};

constexpr CipherAlgorithm algorithms[] = {
    {"gost28147-ecb", 0, true, start<Ecb>},
    {"gost28147-gamma", 8, true, start<Gamma>},
    {"gost28147-cfb", 8, true, start<Cfb>},
    {"kuznyechik-ctr", 8, false, start<Ctr>},
};

constexpr size_t key_size = 32;

struct Options {
    std::string algorithm, sbox, input = "-", output = "-";
    bool encrypt = false, decrypt = false;
    std::unique_ptr<SecretSource> key, iv;
    CLI::Option *sbox_option = nullptr, *file_option = nullptr;
};

// Reads whole pieces: what pipes give is collected until a piece is full.
size_t read_piece(Input &input, Secret &buffer)
{
    size_t size = 0;
    while (const size_t n = input.read(buffer.data() + size, buffer.size() - size))
        size += n;
    return size;
}

void run(const Options &options)
{
    const CipherAlgorithm *algorithm = algorithms;
    while (algorithm->name != options.algorithm)
        algorithm++;
    if ((algorithm->iv_size > 0) != options.iv->given())
        throw CLI::ValidationError(options.algorithm + (algorithm->iv_size > 0
                                                            ? " needs --iv-file or --iv-fd"
                                                            : " takes no initial value"));
    if (!algorithm->has_sbox && options.sbox_option->count() > 0)
        throw CLI::ValidationError(options.algorithm + " has no S-box to choose");

    const Secret key = options.key->read(key_size);
    Secret iv(algorithm->iv_size);
    if (algorithm->iv_size > 0) {
        const Secret value = options.iv->read(algorithm->iv_size);
        memcpy(iv.data(), value.data(), iv.size());
    }
    const auto cipher =
        algorithm->start(options.encrypt, key.data(), iv.data(),
                         algorithm->has_sbox ? expanded_sbox(options.sbox) : nullptr);

    Input input(options.input);
    // Plaintext is worth as much as the key.
    Output output(options.output, options.encrypt ? Access::usual : Access::owner_if_new);
    Progress progress(length_of(options.input).value_or(0));
    Secret buffer(size_t{256} << 10);
    while (const size_t size = read_piece(input, buffer)) {
        cipher->update(buffer.data(), size);
        output.write(buffer.data(), size);
        progress.advance(size);
    }
    output.commit();
}

} // namespace

void add_cipher(CLI::App &app, int &status)
{
    auto options = std::make_shared<Options>();
    CLI::App *command = app.add_subcommand("cipher", "Encrypt or decrypt a file or a pipe");
    command->footer(
        "Keys are 64, initial values 16 hexadecimal digits; blanks and newlines between them do "
        "not\n"
        "count. Never use an initial value twice under a key. Nothing authenticates the result: "
        "use\n"
        "a MAC as well.\n\n"
        "A file given with -o appears, or replaces another, only when it is complete. Decrypted "
        "files\n"
        "that are new can be read by their owner alone.\n\n"
        "Exit status: 0, 1 if something could not be read or written, 2 for a wrong command line.");
    std::vector<std::string> names;
    for (const CipherAlgorithm &algorithm : algorithms)
        names.emplace_back(algorithm.name);
    command->add_option("-a,--algorithm", options->algorithm, "Cipher and mode")
        ->required()
        ->check(CLI::IsMember(names))
        ->type_name("NAME");
    CLI::Option_group *direction = command->add_option_group("direction");
    direction->add_flag("-e,--encrypt", options->encrypt, "Encrypt");
    direction->add_flag("-d,--decrypt", options->decrypt, "Decrypt");
    direction->require_option(1);
    options->key = std::make_unique<SecretSource>(*command, "key", true);
    options->iv = std::make_unique<SecretSource>(*command, "iv", false);
    options->sbox = sbox_names().front();
    options->sbox_option = command
                               ->add_option("--sbox", options->sbox,
                                            "S-box of GOST 28147-89, by default " + options->sbox)
                               ->check(CLI::IsMember(sbox_names()))
                               ->type_name("NAME");
    command
        ->add_option("-o,--output", options->output, "Where the result goes; - for standard output")
        ->type_name("FILE");
    options->file_option =
        command->add_option("FILE", options->input, "The input; - or none for standard input")
            ->type_name("");
    command->callback([options, &status] {
        options->input = names_of(*options->file_option).front();
        run(*options);
        status = exit_success;
    });
}

} // namespace qal::tool
