#include "motion/nearest_name.hpp"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <numeric>

namespace tavo::motion {
namespace {

bool same_letter(char a, char b) {
  return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
}

// Levenshtein distance: insertions, deletions and replacements that turn a into b. After round i,
// row[j] is the distance between the first i letters of a and the first j of b.
std::size_t edits(const std::string& a, const std::string& b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t replace = diagonal + (same_letter(a[i], b[j]) ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replace, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

}  // namespace

std::optional<std::string> nearest_name(const std::string& wrong,
                                        const std::vector<std::string>& names) {
  std::optional<std::string> nearest;
  std::size_t fewest = wrong.size() / 3 + 1;
  for (const std::string& name : names) {
    const std::size_t distance = edits(wrong, name);
    if (distance < fewest) {
      fewest = distance;
      nearest = name;
    }
  }
  return nearest;
}

}  // namespace tavo::motion
