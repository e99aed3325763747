#include "apps/replay/report/base64.hpp"

#include <cstdint>
#include <string_view>

namespace replay {

std::string base64(const void* bytes, std::size_t size) {
  constexpr std::string_view letters =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const auto* const byte = static_cast<const unsigned char*>(bytes);
  std::string text;
  text.reserve((size + 2) / 3 * 4);
  for (std::size_t i = 0; i < size; i += 3) {
    std::uint32_t group = 0;
    for (std::size_t j = 0; j < 3; ++j) group = group << 8 | (i + j < size ? byte[i + j] : 0U);
    for (unsigned j = 0; j < 4; ++j) {
      text += i + j <= size ? letters[group >> (18 - 6 * j) & 63U] : '=';
    }
  }
  return text;
}

}  // namespace replay
