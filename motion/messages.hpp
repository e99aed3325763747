#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tavo::motion {

/// `text` in double quotes, fit for one line of a terminal: no control characters, not too long.
std::string quoted(std::string_view text);

/// unknown KIND "WRONG", did you mean "NAME"? The question only if one of `names` is near.
std::string unknown_name(const std::string& kind, const std::string& wrong,
                         const std::vector<std::string>& names);

}  // namespace tavo::motion
