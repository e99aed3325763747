#pragma once

#include <string>
#include <utility>

#include <CLI/CLI.hpp>

namespace apps {

/// What --help prints: one screen that says what the program does and starts with examples. The
/// manual page is made of it, so its headings are those that manual pages have.
class HelpText : public CLI::Formatter {
 public:
  /// `purpose`: a sentence or two; the rest: lines of text, indented by two.
  HelpText(std::string purpose, std::string examples, std::string files)
      : purpose_(std::move(purpose)), examples_(std::move(examples)), files_(std::move(files)) {
    column_width(20);
  }

  std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode) const override {
    std::string usage = name + " [OPTION]...", options;
    for (const CLI::Option* option : app->get_options({})) {
      const bool positional = option->get_positional();
      if (positional) usage += " [" + option->get_name(true) + "]";
      options += make_option(option, positional);
    }
    return purpose_ + "\nExamples:\n" + examples_ + "\nUsage: " + usage + "\n\nOptions:\n" +
           options + "\nFiles:\n" + files_;
  }

 private:
  std::string purpose_;
  std::string examples_;
  std::string files_;
};

}  // namespace apps
