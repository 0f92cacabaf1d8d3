#include "arguments.hpp"
#include "commands.hpp"
#include "errors.hpp"
#include "files.hpp"
#include "interruption.hpp"

#include <cstdio>
#include <sstream>

using namespace qal::tool;

namespace {

int run(int argc, char **argv)
{
    CLI::App app("Cryptographic operations of the qal library on files");
    app.name("qal");
    app.set_version_flag("--version", "qal " QAL_VERSION);
    app.require_subcommand(1);
    app.get_formatter()->column_width(34);

    int status = exit_success;
    add_digest(app, status);
    add_mac(app, status);
    add_cipher(app, status);
    add_dstu(app, status);
    add_gost(app, status);
    add_rsa(app, status);
    add_speed(app, status);
    take_off_marks(app);
    app.failure_message([](const CLI::App *, const CLI::Error &error) {
        return printable(error.what()) + "\nRun with --help for more information.\n";
    });
    try {
        app.parse(marked_arguments(argc, argv));
    } catch (const CLI::ParseError &error) {
        // --help and --version come this way as well, with 0.
        std::ostringstream out, err;
        status = app.exit(error, out, err) == 0 ? exit_success : exit_usage;
        print(out.str());
        std::fputs(err.str().c_str(), stderr);
    }
    return status;
}

} // namespace

int main(int argc, char **argv)
{
    occupy_standard_descriptors();
    put_right_when_interrupted();
    int status = exit_failure;
    try {
        status = run(argc, argv);
        finish_output();
    } catch (const std::exception &error) {
        complain(error.what());
        status = exit_failure;
    }
    return status;
}
