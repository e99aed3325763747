#include "apps/common/output_file.hpp"

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "motion/standard_streams.hpp"

namespace apps {
namespace fs = std::filesystem;

OutputFile::OutputFile(const fs::path& path) : path_(path) {
  struct stat old = {};
  if (tavo::motion::is_standard_stream(path_)) {
    const int own = ::dup(STDOUT_FILENO);  // closing it tells whether all was written
    if (own >= 0) file_.reset(::fdopen(own, "w"));
  } else if (::stat(path_.c_str(), &old) != 0) {
    if (errno == ENOENT) open_beside();
  } else if (::access(path_.c_str(), W_OK) == 0) {
    S_ISREG(old.st_mode) ? open_in_place_of(old) : open_directly();
  }
  if (!file_) fail();
}

void OutputFile::open_directly() {
  file_.reset(std::fopen(path_.c_str(), "w"));
}

void OutputFile::open_beside() {
  temporary_.emplace(path_.string() + ".tmp" + std::to_string(::getpid()));
  file_.reset(std::fopen(temporary_->path().c_str(), "wx"));
}

// Who may read the older file, and whose it is, stays, as far as we may say so.
void OutputFile::open_in_place_of(const struct stat& old) {
  std::error_code unknown;
  if (fs::is_symlink(path_, unknown)) {  // the link stays, its target is replaced
    const fs::path target = fs::canonical(path_, unknown);
    if (!unknown) path_ = target;
  }
  open_beside();
  if (!file_) return;
  const int descriptor = ::fileno(file_.get());
  const bool same_owner = ::fchown(descriptor, old.st_uid, old.st_gid) == 0;
  const mode_t set_id = S_ISUID | S_ISGID;
  ::fchmod(descriptor, old.st_mode & (same_owner ? 07777U : 07777U & ~set_id));
}

void OutputFile::write(std::string_view text) {
  if (std::fwrite(text.data(), 1, text.size(), file_.get()) != text.size()) fail();
}

// The bytes reach the disk before the name does: who loses power keeps the older file.
void OutputFile::commit() {
  if (temporary_ && (std::fflush(file_.get()) != 0 || ::fsync(::fileno(file_.get())) != 0)) fail();
  if (std::fclose(file_.release()) != 0) fail();
  if (temporary_ && std::rename(temporary_->path().c_str(), path_.c_str()) != 0) fail();
}

void OutputFile::fail() const {
  throw std::runtime_error(tavo::motion::output_name(path_) +
                           ": cannot be written: " + std::strerror(errno));
}

}  // namespace apps
