#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>
#include <sys/stat.h>

#include "apps/common/temporary_file.hpp"

namespace apps {

/// A file that appears under its name only when it is complete: it is written beside that name and
/// renamed by commit(). Without commit() nothing is left and an older file stays as it was; with
/// it the new one has the older one's mode and owner. A
/// device, a pipe and the standard output, "-", are written directly. Every member throws
/// std::runtime_error if writing fails.
class OutputFile {
 public:
  explicit OutputFile(const std::filesystem::path& path);

  void write(std::string_view text);
  void commit();

 private:
  void open_directly();
  void open_beside();
  void open_in_place_of(const struct stat& old);
  [[noreturn]] void fail() const;

  std::filesystem::path path_;
  std::optional<TemporaryFile> temporary_;  // none if written directly
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  std::unique_ptr<std::FILE, Close> file_;
};

}  // namespace apps
