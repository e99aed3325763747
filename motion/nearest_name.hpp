#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tavo::motion {

/// The one of `names` that `wrong` is probably a misspelling of: at most a third of its letters
/// have to change, letter case aside.
std::optional<std::string> nearest_name(const std::string& wrong,
                                        const std::vector<std::string>& names);

}  // namespace tavo::motion
