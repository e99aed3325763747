#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <istream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace replay {

/// A fault in an input file. The message is one line that names file, line and column.
class InputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A comma-separated table of numbers below one header line, read row by row: memory does not grow
/// with the file. Lines may end in LF or CRLF, fields may have blanks around them, blank lines and
/// a leading byte-order mark are passed over.
class CsvReader {
 public:
  /// Opens `path`, "-" for standard input, and reads the header. Throws InputError if there is
  /// none.
  explicit CsvReader(const std::string& path);

  /// Names of the columns as they stand.
  const std::vector<std::string>& header() const { return header_; }

  /// Reads the next row into `row`, one number a column, each finite as a float too. False at the
  /// end of the file. Throws InputError.
  bool next(std::vector<double>& row);

  /// Share of the file that is read, 0 to 1, if its size is known.
  std::optional<double> share_read() const;

  /// What is wrong with the current line, or with one of its columns (counted from 0).
  InputError error(const std::string& fault) const;
  InputError error(std::size_t column, const std::string& fault) const;

 private:
  bool read_line();
  double number(std::string_view field, std::size_t column) const;

  std::string name_;
  std::ifstream file_;
  std::istream& in_;
  std::optional<std::uintmax_t> size_;
  std::uintmax_t read_ = 0;
  std::string line_;
  std::size_t line_number_ = 0;
  std::vector<std::string> header_;
};

}  // namespace replay
