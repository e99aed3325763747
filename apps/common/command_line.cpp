#include "apps/common/command_line.hpp"

#include <algorithm>
#include <csignal>
#include <exception>
#include <iostream>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "apps/common/program_paths.hpp"
#include "motion/messages.hpp"

namespace apps {
namespace {

void flush_standard_output() {
  if (!std::cout.flush()) throw std::runtime_error("standard output: cannot be written");
}

// What the parser leaves over: an option that there is not, or an argument too many.
std::string left_over(const CLI::App& app) {
  const std::vector<std::string> arguments = app.remaining();
  if (arguments.empty()) return "arguments that cannot be read";
  const std::string& argument = arguments.front();
  if (argument.size() < 2 || argument[0] != '-') {
    return "one argument too many: " + tavo::motion::quoted(argument);
  }
  std::vector<std::string> known;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) known.push_back("--" + name);
  }
  return tavo::motion::unknown_name("option", argument.substr(0, argument.find('=')), known);
}

// An option without its value, or with several.
std::string mismatch(const CLI::App& app, const std::string& fault) {
  const std::string name = fault.substr(0, fault.find(':'));
  const CLI::Option* const option = app.get_option_no_throw(name);
  if (!option || name.empty()) return fault;
  const std::string value = option->get_option_text();
  return option->count() > 1 ? name + " is given more than once" : name + " needs a " + value;
}

int fail(const CLI::App& app, const std::string& fault) {
  std::cerr << app.get_name() << ": " << fault << "\n";
  return 1;
}

}  // namespace

void add_common_options(CLI::App& app) {
  app.add_option("--plugin", "Plug-in to load; default: the one that comes along")
      ->option_text("FILE")
      ->check(file_name());
  app.set_help_flag("-h,--help", "Print this and end");
  app.set_version_flag("--version", app.get_name() + " " ORVEK23_VERSION,
                       "Print the version and end");
}

CLI::Validator file_name() {
  const auto fault = [](const std::string& name) {
    return name.empty() ? "the file's name is empty" : "";
  };
  return {[fault](std::string& name) { return std::string(fault(name)); }, ""};
}

std::filesystem::path plugin_path(const CLI::App& app) {
  const CLI::Option* const option = app.get_option("--plugin");
  return option->count() == 0 ? default_plugin()
                              : std::filesystem::absolute(option->as<std::string>());
}

int run_program(CLI::App& app, int argc, char** argv, const std::function<void()>& job) {
  std::signal(SIGXFSZ, SIG_IGN);  // a file that may not grow is a failed write, as on a full disk
  try {
    try {
      app.parse(argc, argv);
      job();
    } catch (const CLI::Success& request) {  // --help, --version
      app.exit(request);
    }
    flush_standard_output();
    return 0;
  } catch (const CLI::ExtrasError&) {
    return fail(app, left_over(app));
  } catch (const CLI::ArgumentMismatch& error) {
    return fail(app, mismatch(app, error.what()));
  } catch (const std::bad_alloc&) {
    return fail(app, "not enough memory");
  } catch (const std::exception& error) {
    return fail(app, error.what());
  }
}

}  // namespace apps
