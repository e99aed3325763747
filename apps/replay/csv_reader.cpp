#include "apps/replay/csv_reader.hpp"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <limits>
#include <string>
#include <system_error>

#include "apps/common/standard_streams.hpp"
#include "apps/replay/messages.hpp"

namespace replay {
namespace {

constexpr std::string_view blanks = " \t\r";
constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

// Cuts the next field off `rest`; `last` tells that nothing follows it.
std::string_view take_field(std::string_view& rest, bool& last) {
  const std::size_t comma = rest.find(',');
  last = comma == std::string_view::npos;
  const std::string_view field = rest.substr(0, comma);
  if (!last) rest.remove_prefix(comma + 1);
  return trimmed(field);
}

std::string fields(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " field" : " fields");
}

}  // namespace

CsvReader::CsvReader(const std::string& path)
    : name_(apps::input_name(path)), in_(apps::is_standard_stream(path) ? std::cin : file_) {
  const std::filesystem::path place = apps::is_standard_stream(path) ? "/dev/stdin" : path;
  if (&in_ == &file_) file_.open(place);
  if (!in_) throw InputError(name_ + ": cannot be read: " + std::strerror(errno));
  std::error_code unknown;
  if (std::filesystem::is_regular_file(place, unknown)) {
    size_ = std::filesystem::file_size(place);
  }
  if (!read_line()) throw InputError(name_ + ", line 1: the file is empty");
  std::string_view rest = line_;
  if (rest.starts_with(byte_order_mark)) rest.remove_prefix(byte_order_mark.size());
  for (bool last = false; !last;) header_.emplace_back(take_field(rest, last));
}

bool CsvReader::next(std::vector<double>& row) {
  if (!read_line()) return false;
  row.clear();
  std::string_view rest = line_;
  for (bool last = false; !last;) {
    const std::string_view field = take_field(rest, last);
    if (row.size() < header_.size()) {
      row.push_back(number(field, row.size()));
    } else {
      throw error(row.size(), "the header names only " + fields(header_.size()));
    }
  }
  if (row.size() < header_.size()) {
    throw error(row.size(), "the row ends after " + fields(row.size()) + " of " +
                                std::to_string(header_.size()));
  }
  return true;
}

std::optional<double> CsvReader::share_read() const {
  if (!size_) return std::nullopt;
  return std::min(1.0, static_cast<double>(read_) / static_cast<double>(*size_));
}

InputError CsvReader::error(const std::string& fault) const {
  return InputError(name_ + ", line " + std::to_string(line_number_) + ": " + fault);
}

InputError CsvReader::error(std::size_t column, const std::string& fault) const {
  std::string place =
      name_ + ", line " + std::to_string(line_number_) + ", column " + std::to_string(column + 1);
  if (line_number_ > 1 && column < header_.size()) place += " (" + header_[column] + ")";
  return InputError(place + ": " + fault);
}

// The next line that is not blank.
bool CsvReader::read_line() {
  errno = 0;
  while (std::getline(in_, line_)) {
    ++line_number_;
    read_ += line_.size() + 1;
    if (!trimmed(line_).empty()) return true;
  }
  if (in_.bad()) throw InputError(name_ + ": cannot be read: " + std::strerror(errno));
  return false;
}

double CsvReader::number(std::string_view field, std::size_t column) const {
  if (field.empty()) throw error(column, "the field is empty");
  std::string_view digits = field;
  if (digits.size() > 1 && digits[0] == '+' && digits[1] != '-') digits.remove_prefix(1);
  double value = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, fault] = std::from_chars(digits.data(), end, value);
  if (fault == std::errc::invalid_argument || stop != end) {
    throw error(column, quoted(field) + " is not a number");
  }
  // Out of range either way; what is merely too small is the nearest number, often 0.
  if (fault == std::errc::result_out_of_range)
    value = std::strtod(std::string(digits).c_str(), nullptr);
  // The negated comparison also refuses what is not a number at all.
  if (!(std::abs(value) <= std::numeric_limits<float>::max())) {
    throw error(column, quoted(field) + " is not a finite number in single precision");
  }
  return value;
}

}  // namespace replay
