// The commands of the program. Each adds itself to the command line; its callback sets the status.
#pragma once

#include <CLI/CLI.hpp>

namespace qal::tool {

void add_cipher(CLI::App &app, int &status);
void add_digest(CLI::App &app, int &status);
void add_dstu(CLI::App &app, int &status);
void add_gost(CLI::App &app, int &status);
void add_mac(CLI::App &app, int &status);
void add_rsa(CLI::App &app, int &status);
void add_speed(CLI::App &app, int &status);

} // namespace qal::tool
