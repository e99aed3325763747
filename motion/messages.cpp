#include "motion/messages.hpp"

#include <cstddef>
#include <optional>

#include "motion/nearest_name.hpp"

namespace tavo::motion {

std::string quoted(std::string_view text) {
  constexpr std::size_t longest = 40;
  std::string result = "\"";
  for (const char c : text.substr(0, longest)) {
    const auto code = static_cast<unsigned char>(c);  // a char has no sign on Arm
    const bool control = code < ' ' || code == 0x7f;
    result += control ? '?' : c;
  }
  return result + (text.size() > longest ? "...\"" : "\"");
}

std::string unknown_name(const std::string& kind, const std::string& wrong,
                         const std::vector<std::string>& names) {
  const std::optional<std::string> meant = nearest_name(wrong, names);
  return "unknown " + kind + " " + quoted(wrong) +
         (meant ? ", did you mean " + quoted(*meant) + "?" : "");
}

}  // namespace tavo::motion
