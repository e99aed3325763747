#pragma once

#include <cstddef>
#include <string>

namespace replay {

/// The bytes in the alphabet of RFC 4648, section 4, padded.
std::string base64(const void* bytes, std::size_t size);

}  // namespace replay
