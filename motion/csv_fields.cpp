#include "motion/csv_fields.hpp"

#include <cstddef>

namespace tavo::motion {

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r";
  const std::size_t first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool CsvFields::next() {
  if (last_) return false;
  fault_ = nullptr;
  const std::size_t first = rest_.find_first_not_of(separator_ == '\t' ? " " : " \t");
  if (first != std::string_view::npos && rest_[first] == '"') {
    rest_.remove_prefix(first + 1);
    take_quoted();
  } else {
    take_plain();
  }
  return true;
}

void CsvFields::take_plain() {
  const std::size_t end = rest_.find(separator_);
  field_ = trimmed(rest_.substr(0, end));
  end_at(end);
}

void CsvFields::take_quoted() {
  unquoted_.clear();
  std::size_t quote = rest_.find('"');
  while (quote != std::string_view::npos && rest_.substr(quote + 1, 1) == "\"") {
    unquoted_.append(rest_, 0, quote + 1);
    rest_.remove_prefix(quote + 2);
    quote = rest_.find('"');
  }
  unquoted_.append(rest_.substr(0, quote));
  field_ = trimmed(unquoted_);
  if (quote == std::string_view::npos) {
    fault_ = "the field's closing quote is missing";
    end_at(quote);
    return;
  }
  rest_.remove_prefix(quote + 1);
  const std::size_t end = rest_.find(separator_);
  if (!trimmed(rest_.substr(0, end)).empty()) fault_ = "the field goes on after its closing quote";
  end_at(end);
}

void CsvFields::end_at(std::size_t separator) {
  last_ = separator == std::string_view::npos;
  if (!last_) rest_.remove_prefix(separator + 1);
}

std::size_t count_unquoted(std::string_view line, char c) {
  std::size_t count = 0;
  bool quoted = false;
  for (const char letter : line) {
    if (letter == '"') quoted = !quoted;
    if (letter == c && !quoted) ++count;
  }
  return count;
}

}  // namespace tavo::motion
