#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace replay {

/// What --help prints: one screen that starts with examples. The manual page is made of it, so its
/// headings are those that manual pages have.
class HelpText : public CLI::Formatter {
 public:
  HelpText() { column_width(20); }

  std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode) const override {
    std::string text =
        "Examples:\n"
        "  orvek23-replay -o results.csv                          results of a walk\n"
        "  orvek23-replay run.csv -o H.csv --signals mass-matrix  chosen signals\n"
        "  zcat run.csv.gz | orvek23-replay - -o - | head -3      through pipes\n"
        "\n"
        "Usage: " +
        name +
        " [OPTION]... [MOTION]\n"
        "\n"
        "Options:\n";
    for (const CLI::Option* option : app->get_options({})) {
      text += make_option(option, option->get_positional());
    }
    return text +
           "\n"
           "Files:\n"
           "  share/doc/orvek23/replay.md (beside bin/)  all columns, units, errors\n";
  }
};

}  // namespace replay
