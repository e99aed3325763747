#pragma once

#include <filesystem>

namespace apps {

/// Where the program finds its companions, relative to itself: built and installed alike, it lies
/// in bin/ beside lib/ and share/.
std::filesystem::path default_plugin();
std::filesystem::path default_motion();
std::filesystem::path default_report_template();

}  // namespace apps
