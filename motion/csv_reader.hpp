#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tavo::motion {

/// A fault in an input file. The message is one line that names file, line and column.
class InputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A table of numbers below one header line, read row by row: memory does not grow with the file.
///
/// Fields stand between commas, semicolons or tabs; which, the header tells. They may be in double
/// quotes (a quote inside is doubled) and have blanks around them. Lines end in LF or CRLF. Blank
/// lines, lines that begin with # and a leading byte-order mark are passed over.
class CsvReader {
 public:
  /// Opens `path`, "-" for standard input, and reads the header. `separator`: comma, semicolon or
  /// tab, if the header is not to be asked. Throws InputError if the file cannot be read, if there
  /// is no header, or if another separator stands in it.
  explicit CsvReader(const std::string& path, std::optional<char> separator = std::nullopt);

  /// Names of the columns as they stand.
  const std::vector<std::string>& header() const { return header_; }

  /// From now on this column, counted from 0, may hold anything: next() gives 0 for it, text() what
  /// stands there.
  void pass_over(std::size_t column) { passed_over_[column] = true; }

  /// The field in a column that is passed over, of the row read last.
  const std::string& text(std::size_t column) const { return texts_[column]; }

  /// Reads the next row into `row`, one number a column, each finite as a float too. False at the
  /// end of the file. Throws InputError.
  bool next(std::vector<double>& row);

  /// The number of the line read last, from 1.
  std::size_t line_number() const { return line_number_; }

  /// Share of the file that is read, 0 to 1, if its size is known.
  std::optional<double> share_read() const;

  /// What is wrong with the current line.
  InputError error(const std::string& fault) const;

  /// What is wrong with one of its columns, counted from 0.
  InputError error(std::size_t column, const std::string& fault) const;

 private:
  void read_header(std::optional<char> separator);
  bool read_line();
  bool next_line();
  bool fill();
  bool plain_row(std::vector<double>& row);
  double number(std::string_view field, std::size_t column) const;

  /// A file descriptor, closed with its owner unless it is the standard input's.
  class Descriptor {
   public:
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : descriptor_(other.descriptor_) {
      other.descriptor_ = -1;
    }
    Descriptor& operator=(Descriptor&&) = delete;
    ~Descriptor();
    int get() const { return descriptor_; }

   private:
    int descriptor_;
  };

  std::string name_;
  Descriptor file_;
  std::optional<std::uintmax_t> size_;
  std::uintmax_t read_ = 0;
  std::vector<char> buffer_;         ///< What of the file is at hand,
  std::size_t begin_ = 0, end_ = 0;  ///< and what of it is still to come.
  std::string_view line_;            ///< Within the buffer.
  std::size_t line_number_ = 0, header_line_ = 0, comment_line_ = 0;  ///< 0: none yet
  char separator_ = ',';
  std::vector<std::string> header_;
  std::vector<bool> passed_over_;
  std::vector<std::string> texts_;
};

}  // namespace tavo::motion
