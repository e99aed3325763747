#include "apps/common/command_line.hpp"

#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include <CLI/CLI.hpp>

#include "apps/common/program_paths.hpp"

namespace apps {

void add_common_options(CLI::App& app) {
  app.add_option("--plugin", "Plug-in to load; default: the one that comes along")
      ->option_text("FILE");
  app.set_help_flag("-h,--help", "Print this and end");
  app.set_version_flag("--version", app.get_name() + " " ORVEK23_VERSION,
                       "Print the version and end");
}

std::filesystem::path plugin_path(const CLI::App& app) {
  const CLI::Option* const option = app.get_option("--plugin");
  return option->count() == 0 ? default_plugin()
                              : std::filesystem::absolute(option->as<std::string>());
}

int run_program(CLI::App& app, int argc, char** argv, const std::function<void()>& job) {
  try {
    app.parse(argc, argv);
    job();
    if (!std::cout.flush()) throw std::runtime_error("standard output: cannot be written");
    return 0;
  } catch (const CLI::Success& request) {  // --help, --version
    return app.exit(request);
  } catch (const std::exception& fault) {
    std::cerr << app.get_name() << ": " << fault.what() << "\n";
    return 1;
  }
}

}  // namespace apps
