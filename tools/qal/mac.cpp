// qal mac: prints message authentication codes of files, or verifies one.
#include "arguments.hpp"
#include "checklist.hpp"
#include "commands.hpp"
#include "errors.hpp"
#include "files.hpp"
#include "progress.hpp"
#include "sboxes.hpp"
#include "secrets.hpp"

#include <qal/g28147.h>

#include <string.h>

#include <memory>
#include <stdexcept>

namespace qal::tool {

namespace {

constexpr size_t key_size = 32, mac_size = 4;

struct Options {
    std::string algorithm, sbox, expected;
    std::vector<std::string> files;
    std::unique_ptr<SecretSource> key;
    CLI::Option *expected_option = nullptr, *files_option = nullptr;
};

struct Mac {
    SecretRecord<g28147_hmac_ctx> ctx;

    Mac(const Secret &key, const uint32_t *table)
    {
        g28147_hmac_init_ext(ctx.get(), key.data(), table);
    }
};

void absorb(Mac &mac, const std::string &name)
{
    Input input(name);
    Progress progress(length_of(name).value_or(0));
    Bytes buffer;
    input.read_all(buffer, [&](const uint8_t *data, size_t size) {
        g28147_hmac_update(mac.ctx.get(), data, size);
        progress.advance(size);
    });
}

bool verify(const Options &options, const Secret &key, const uint32_t *table,
            const std::string &name)
{
    const auto expected = from_hex(options.expected);
    if (!expected || expected->size() != mac_size)
        throw CLI::ValidationError("--verify: not " + std::to_string(2 * mac_size) +
                                   " hexadecimal digits");
    Mac mac(key, table);
    absorb(mac, name);
    const bool good = g28147_hmac_final_verify(mac.ctx.get(), expected->data());
    print(line_about(name, "", good ? ": OK" : ": FAILED"));
    return good;
}

bool print_macs(const Secret &key, const uint32_t *table, const std::vector<std::string> &names)
{
    bool good = true;
    for (const std::string &name : names) {
        try {
            Mac mac(key, table);
            absorb(mac, name);
            Bytes code(mac_size);
            if (!g28147_hmac_final(mac.ctx.get(), code.data()))
                throw std::runtime_error(quote(name) +
                                         ": too short to have a MAC, which takes more than 8 "
                                         "bytes");
            print(line_about(name, to_hex(code) + "  ", ""));
        } catch (const WriteError &) {
            throw;
        } catch (const std::runtime_error &error) {
            complain(error.what());
            good = false;
        }
    }
    return good;
}

} // namespace

void add_mac(CLI::App &app, int &status)
{
    auto options = std::make_shared<Options>();
    CLI::App *command = app.add_subcommand("mac", "Print or verify message authentication codes");
    command->footer(
        "Exit status: 0, 1 if a file could not be read or its MAC is another, 2 for a wrong\n"
        "command line.");
    command->add_option("-a,--algorithm", options->algorithm, "gost28147: the MAC of GOST 28147-89")
        ->required()
        ->check(CLI::IsMember({"gost28147"}))
        ->type_name("NAME");
    options->key = std::make_unique<SecretSource>(*command, "key", true);
    options->sbox = sbox_names().front();
    command->add_option("--sbox", options->sbox, "S-box, by default " + options->sbox)
        ->check(CLI::IsMember(sbox_names()))
        ->type_name("NAME");
    options->expected_option =
        command->add_option("--verify", options->expected, "The MAC that one file must have")
            ->type_name("HEX");
    options->files_option =
        command->add_option("FILE", options->files, "Files; - or none for standard input")
            ->type_name("");
    command->callback([options, &status] {
        const std::vector<std::string> names = names_of(*options->files_option);
        const bool verifying = options->expected_option->count() > 0;
        if (verifying && names.size() > 1)
            throw CLI::ValidationError("--verify takes one file");
        const Secret key = options->key->read(key_size);
        const uint32_t *table = expanded_sbox(options->sbox);
        const bool good =
            verifying ? verify(*options, key, table, names.front()) : print_macs(key, table, names);
        status = good ? exit_success : exit_failure;
    });
}

} // namespace qal::tool
