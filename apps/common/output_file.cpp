#include "apps/common/output_file.hpp"

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>
#include <unistd.h>

#include "apps/common/standard_streams.hpp"

namespace apps {
namespace fs = std::filesystem;

OutputFile::OutputFile(const fs::path& path) : path_(path) {
  const fs::file_status status = fs::status(path_);
  if (is_standard_stream(path_)) {
    const int own = ::dup(STDOUT_FILENO);  // closing it tells whether all was written
    if (own >= 0) file_.reset(::fdopen(own, "w"));
  } else if (!fs::exists(status)) {
    open_beside();
  } else if (::access(path_.c_str(), W_OK) == 0) {
    fs::is_regular_file(status) ? open_beside() : open_directly();
  }
  if (!file_) fail();
}

void OutputFile::open_directly() {
  file_.reset(std::fopen(path_.c_str(), "w"));
}

void OutputFile::open_beside() {
  if (fs::exists(path_)) path_ = fs::canonical(path_);  // a link stays, its target is replaced
  temporary_.emplace(path_.string() + ".tmp" + std::to_string(::getpid()));
  file_.reset(std::fopen(temporary_->path().c_str(), "wx"));
}

void OutputFile::write(std::string_view text) {
  if (std::fwrite(text.data(), 1, text.size(), file_.get()) != text.size()) fail();
}

void OutputFile::commit() {
  if (std::fclose(file_.release()) != 0) fail();
  if (temporary_ && std::rename(temporary_->path().c_str(), path_.c_str()) != 0) fail();
}

void OutputFile::fail() const {
  throw std::runtime_error(output_name(path_) + ": cannot be written: " + std::strerror(errno));
}

}  // namespace apps
