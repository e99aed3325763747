#include "apps/replay/output_file.hpp"

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>
#include <system_error>
#include <unistd.h>

namespace replay {
namespace fs = std::filesystem;

OutputFile::OutputFile(const fs::path& path) : path_(path) {
  const fs::file_status status = fs::status(path_);
  if (fs::exists(status) && ::access(path_.c_str(), W_OK) != 0) fail();
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    file_.reset(std::fopen(path_.c_str(), "w"));
    if (!file_) fail();
    return;
  }
  if (fs::exists(status)) path_ = fs::canonical(path_);  // a link stays, its target is replaced
  temporary_ = path_;
  temporary_ += ".tmp" + std::to_string(::getpid());
  std::error_code absent;
  fs::remove(temporary_, absent);
  file_.reset(std::fopen(temporary_.c_str(), "wx"));
  if (!file_) fail();
}

OutputFile::~OutputFile() {
  std::error_code ignored;
  if (!temporary_.empty()) fs::remove(temporary_, ignored);
}

void OutputFile::write(std::string_view text) {
  if (std::fwrite(text.data(), 1, text.size(), file_.get()) != text.size()) fail();
}

void OutputFile::commit() {
  if (std::fclose(file_.release()) != 0) fail();
  if (temporary_.empty()) return;
  if (std::rename(temporary_.c_str(), path_.c_str()) != 0) fail();
  temporary_.clear();
}

void OutputFile::fail() const {
  throw std::runtime_error(path_.string() + ": cannot be written: " + std::strerror(errno));
}

}  // namespace replay
