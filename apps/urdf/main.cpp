#include <cmath>
#include <filesystem>
#include <host/loader.hpp>
#include <map>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "apps/common/command_line.hpp"
#include "apps/common/help_text.hpp"
#include "apps/common/output_file.hpp"
#include "apps/urdf/urdf.hpp"

namespace {

constexpr char purpose[] = "Prints the robot as URDF, for viewers, planners and simulators.\n";
constexpr char examples[] =
    "  orvek23-urdf -o orvek23.urdf                a file for other tools\n"
    "  orvek23-urdf --root base_link -o robot.urdf the root link that ROS expects\n"
    "  orvek23-urdf | grep '<mass'                 through a pipe\n"
    "  orvek23-urdf --plugin other/liborvek23.so   of another plug-in\n";
constexpr char files[] =
    "  share/doc/orvek23/apps/urdf/README.md (beside bin/)  which tool takes what\n"
    "  share/doc/orvek23/docs/conventions.md                frames, joint axes\n";

const std::map<std::string, urdf_export::Root> roots{{"world", urdf_export::Root::world},
                                                     {"floating", urdf_export::Root::floating},
                                                     {"base_link", urdf_export::Root::base_link},
                                                     {"none", urdf_export::Root::none}};

std::string check_root(const std::string& text) {
  if (roots.count(text) > 0) return {};
  return "\"" + text + "\" is not world, floating, base_link or none";
}

std::string check_inertia(const std::string& text) {
  double value = -1;
  const bool number = CLI::detail::lexical_cast(text, value);
  if (number && value >= 0 && std::isfinite(value)) return {};
  return "\"" + text + "\" is not a rotational inertia in kg m2, 0 or more";
}

}  // namespace

int main(int argc, char** argv) {
  std::filesystem::path output = "-";
  CLI::App app("", "orvek23-urdf");
  app.formatter(std::make_shared<apps::HelpText>(purpose, examples, files));
  app.add_option("-o,--output", output, "Where the URDF goes; -, the default, for standard output")
      ->option_text("FILE")
      ->check(apps::file_name());
  std::string root = "world";
  urdf_export::Options options;
  app.add_option("--root", root,
                 "What the first body hangs from: world (the default; all tools read that), "
                 "floating, base_link or none")
      ->option_text("LINK")
      ->check(check_root);
  app.add_option("--joint-suffix", options.joint_suffix,
                 "What a joint's name has after that of its body; default: _joint")
      ->option_text("TEXT");
  app.add_option("--least-inertia", options.least_inertia,
                 "Rotational inertia of each body about its centre of mass, kg m2; default: 1e-9")
      ->option_text("VALUE")
      ->check(check_inertia);
  apps::add_common_options(app);
  return apps::run_program(app, argc, argv, [&] {
    options.root = roots.at(root);
    const tavo::Plugin plugin(apps::plugin_path(app).string());
    const tavo::Plugin::System robot = plugin.create();
    apps::OutputFile file(output);
    file.write(urdf_export::urdf(urdf_export::read_robot(*robot), options));
    file.commit();
  });
}
