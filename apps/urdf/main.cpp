#include <filesystem>
#include <host/loader.hpp>
#include <memory>

#include <CLI/CLI.hpp>

#include "apps/common/command_line.hpp"
#include "apps/common/help_text.hpp"
#include "apps/common/output_file.hpp"
#include "apps/urdf/urdf.hpp"

namespace {

constexpr char purpose[] = "Prints the robot as URDF, for viewers, planners and simulators.\n";
constexpr char examples[] =
    "  orvek23-urdf -o orvek23.urdf                a file for other tools\n"
    "  orvek23-urdf | grep '<mass'                 through a pipe\n"
    "  orvek23-urdf --plugin other/liborvek23.so   of another plug-in\n";
constexpr char files[] =
    "  share/doc/orvek23/docs/conventions.md (beside bin/)  frames, joint axes\n";

}  // namespace

int main(int argc, char** argv) {
  std::filesystem::path output = "-";
  CLI::App app("", "orvek23-urdf");
  app.formatter(std::make_shared<apps::HelpText>(purpose, examples, files));
  app.add_option("-o,--output", output, "Where the URDF goes; -, the default, for standard output")
      ->option_text("FILE")
      ->check(apps::file_name());
  apps::add_common_options(app);
  return apps::run_program(app, argc, argv, [&app, &output] {
    const tavo::Plugin plugin(apps::plugin_path(app).string());
    const tavo::Plugin::System robot = plugin.create();
    apps::OutputFile file(output);
    file.write(urdf_export::urdf(urdf_export::read_robot(*robot)));
    file.commit();
  });
}
