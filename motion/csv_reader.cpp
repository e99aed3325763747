#include "motion/csv_reader.hpp"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <limits>
#include <string>
#include <system_error>
#include <unistd.h>

#include "motion/csv_fields.hpp"
#include "motion/messages.hpp"
#include "motion/standard_streams.hpp"

namespace tavo::motion {
namespace {

constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

std::string fields(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " field" : " fields");
}

std::string shown(char separator) {
  return separator == '\t' ? "tabs" : std::string("'") + separator + "'";
}

// A tab beside commas or semicolons is a blank.
char separator_of(std::string_view header) {
  const std::size_t commas = count_unquoted(header, ','), semicolons = count_unquoted(header, ';');
  if (commas == 0 && semicolons == 0 && count_unquoted(header, '\t') > 0) return '\t';
  return semicolons > commas ? ';' : ',';
}

// As far as it can be read, the number of which `digits` are all; nothing if they are none.
std::optional<double> parsed(std::string_view digits) {
  if (digits.size() > 1 && digits[0] == '+' && digits[1] != '-') digits.remove_prefix(1);
  double value = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, fault] = std::from_chars(digits.data(), end, value);
  if (fault == std::errc::invalid_argument || stop != end) return std::nullopt;
  // Out of range either way; what is merely too small is the nearest number, often 0.
  if (fault == std::errc::result_out_of_range)
    value = std::strtod(std::string(digits).c_str(), nullptr);
  return value;
}

std::string hint_at_decimal_comma(std::string_view field) {
  std::string with_point(field);
  const std::size_t comma = with_point.find(',');
  if (comma == std::string::npos) return "";
  with_point[comma] = '.';
  return parsed(with_point) ? ": decimals have a point" : "";
}

}  // namespace

CsvReader::Descriptor::~Descriptor() {
  if (descriptor_ > STDIN_FILENO) ::close(descriptor_);
}

CsvReader::CsvReader(const std::string& path, std::optional<char> separator)
    : name_(input_name(path)),
      file_(is_standard_stream(path) ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
  if (file_.get() < 0) throw InputError(name_ + ": cannot be read: " + std::strerror(errno));
  const std::filesystem::path place = is_standard_stream(path) ? "/dev/stdin" : path;
  std::error_code unknown;
  if (std::filesystem::is_regular_file(place, unknown)) {
    const std::uintmax_t size = std::filesystem::file_size(place, unknown);
    if (!unknown) size_ = size;
  }
  read_header(separator);
}

void CsvReader::read_header(std::optional<char> separator) {
  if (!read_line()) {
    throw InputError(name_ + ", line 1: the file " +
                     (comment_line_ > 0 ? "holds only comments" : "is empty"));
  }
  header_line_ = line_number_;
  separator_ = separator.value_or(separator_of(line_));
  bool numbers = true;
  for (CsvFields fields(line_, separator_); fields.next();) {
    if (fields.fault()) throw error(header_.size(), fields.fault());
    numbers = numbers && parsed(fields.field());
    header_.emplace_back(fields.field());
  }
  if (header_.size() == 1 && separator_of(line_) != separator_) {
    throw error("the columns are separated by " + shown(separator_of(line_)) + ", not by " +
                shown(separator_));
  }
  if (numbers) {
    const std::string comment = comment_line_ > 0
                                    ? "; line " + std::to_string(comment_line_) +
                                          " is a comment: if it has the names, take its # away"
                                    : "";
    throw error("the names of the columns are expected here, not numbers" + comment);
  }
  passed_over_.assign(header_.size(), false);
  texts_.resize(header_.size());
}

bool CsvReader::next(std::vector<double>& row) {
  if (!read_line()) return false;
  if (plain_row(row)) return true;
  row.clear();
  for (CsvFields cells(line_, separator_); cells.next();) {
    if (row.size() >= header_.size()) {
      throw error(row.size(), "the header names only " + fields(header_.size()));
    }
    if (cells.fault()) throw error(row.size(), cells.fault());
    const std::size_t column = row.size();
    if (passed_over_[column]) texts_[column] = cells.field();
    row.push_back(passed_over_[column] ? 0 : number(cells.field(), column));
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
  if (line_number_ > header_line_ && column < header_.size()) {
    place += " (" + header_[column] + ")";
  }
  return InputError(place + ": " + fault);
}

// The row, if it holds as many plain numbers as the header has names, without quotes: what nearly
// all rows are. Else false, and next() sees what it is or says what is wrong with it.
bool CsvReader::plain_row(std::vector<double>& row) {
  if (std::memchr(line_.data(), '"', line_.size()) != nullptr) return false;
  row.resize(header_.size());
  const char* at = line_.data();
  const char* const end = at + line_.size();
  const auto skip_blanks = [&at, end, this] {
    while (at != end && *at != separator_ && (*at == ' ' || *at == '\t' || *at == '\r')) ++at;
  };
  for (std::size_t column = 0; column < row.size(); ++column) {
    if (passed_over_[column]) {
      row[column] = 0;
      const char* const field = at;
      at = std::find(at, end, separator_);
      texts_[column] = trimmed({field, static_cast<std::size_t>(at - field)});
    } else {
      skip_blanks();
      const auto [stop, fault] = std::from_chars(at, end, row[column]);
      if (fault != std::errc() || !(std::abs(row[column]) <= std::numeric_limits<float>::max())) {
        return false;
      }
      at = stop;
      skip_blanks();
    }
    if (column + 1 == row.size()) return at == end;
    if (at == end || *at != separator_) return false;
    ++at;
  }
  return false;
}

// The next line that is neither blank nor a comment.
bool CsvReader::read_line() {
  while (next_line()) {
    if (line_number_++ == 0 && line_.starts_with(byte_order_mark)) {
      line_.remove_prefix(byte_order_mark.size());
    }
    const std::string_view text = trimmed(line_);
    if (text.starts_with('#')) {
      comment_line_ = line_number_;
    } else if (!text.empty()) {
      return true;
    }
  }
  return false;
}

// The next line as it stands; the last one may lack its end.
bool CsvReader::next_line() {
  std::size_t searched = 0;
  for (;;) {
    const char* const first = buffer_.data() + begin_;
    const std::size_t size = end_ - begin_;
    const void* const newline =
        size > searched ? std::memchr(first + searched, '\n', size - searched) : nullptr;
    if (newline == nullptr) {
      searched = size;
      if (fill()) continue;
      if (size == 0) return false;
    }
    const std::size_t length =
        newline == nullptr ? size
                           : static_cast<std::size_t>(static_cast<const char*>(newline) - first);
    line_ = {buffer_.data() + begin_, length};
    begin_ += newline == nullptr ? length : length + 1;
    read_ += length + 1;
    return true;
  }
}

// Reads on, behind what is still to come; false at the end of the file.
bool CsvReader::fill() {
  constexpr std::size_t block = 1 << 18;
  if (begin_ > 0) std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
  end_ -= begin_;
  begin_ = 0;
  if (buffer_.size() < end_ + block) buffer_.resize(std::max(end_ + block, 2 * end_));
  for (;;) {
    const ssize_t got = ::read(file_.get(), buffer_.data() + end_, block);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw InputError(name_ + ": cannot be read: " + std::strerror(errno));
    end_ += static_cast<std::size_t>(got);
    return got > 0;
  }
}

double CsvReader::number(std::string_view field, std::size_t column) const {
  if (field.empty()) throw error(column, "the field is empty");
  const std::optional<double> value = parsed(field);
  if (!value)
    throw error(column, quoted(field) + " is not a number" + hint_at_decimal_comma(field));
  // The negated comparison also refuses what is not a number at all.
  if (!(std::abs(*value) <= std::numeric_limits<float>::max())) {
    throw error(column, quoted(field) + " is not a finite number in single precision");
  }
  return *value;
}

}  // namespace tavo::motion
