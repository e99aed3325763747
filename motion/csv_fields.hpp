#pragma once

#include <string>
#include <string_view>

namespace tavo::motion {

/// `text` without blanks at either end.
std::string_view trimmed(std::string_view text);

/// The fields of one line, one after another.
class CsvFields {
 public:
  CsvFields(std::string_view line, char separator) : rest_(line), separator_(separator) {}

  /// Goes on to the next field, the first at the first call. False past the last.
  bool next();

  /// The present field, without blanks around it and without its quotes. It stays until next().
  std::string_view field() const { return field_; }

  /// What is wrong with the quotes of the present field; null if nothing is.
  const char* fault() const { return fault_; }

 private:
  void take_plain();
  void take_quoted();
  void end_at(std::size_t separator);

  std::string_view rest_;
  char separator_;
  bool last_ = false;
  std::string_view field_;
  std::string unquoted_;  // where a field is kept that holds quotes
  const char* fault_ = nullptr;
};

/// How often c stands in a line outside of quotes.
std::size_t count_unquoted(std::string_view line, char c);

}  // namespace tavo::motion
