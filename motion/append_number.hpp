#pragma once

#include <charconv>
#include <string>

namespace tavo::motion {

/// Appends a number in the shortest form that reads back to the same value.
template <class Number>
void append_number(std::string& line, Number value) {
  char digits[32];
  line.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

}  // namespace tavo::motion
