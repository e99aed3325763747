#include "apps/common/program_paths.hpp"

namespace apps {
namespace {

std::filesystem::path prefix() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path();
}

}  // namespace

std::filesystem::path default_plugin() {
  return prefix() / "lib" / "liborvek23.so";
}
std::filesystem::path default_motion() {
  return prefix() / "share" / "orvek23" / "walk.csv";
}
std::filesystem::path default_report_template() {
  return prefix() / "share" / "orvek23" / "report.html";
}

}  // namespace apps
