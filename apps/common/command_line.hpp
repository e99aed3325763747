#pragma once

#include <filesystem>
#include <functional>

#include <CLI/CLI.hpp>

namespace apps {

/// Adds what every program takes: --plugin, --help and --version.
void add_common_options(CLI::App& app);

/// Refuses a file's name that is empty, as an unset variable of a script leaves it.
CLI::Validator file_name();

/// The plug-in to load: that of --plugin, else the one that comes along. An absolute path, so that
/// a bare file name is never searched for in the library folders.
std::filesystem::path plugin_path(const CLI::App& app);

/// The body of a program's main: parses the arguments, runs the job, returns the exit status.
/// Whatever goes wrong in either is one line on the standard error, after the program's name, and
/// status 1.
int run_program(CLI::App& app, int argc, char** argv, const std::function<void()>& job);

}  // namespace apps
