#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string_view>

namespace replay {

/// A file that appears under its name only when it is complete: it is written beside that name and
/// renamed by commit(). Without commit() nothing is left and an older file stays as it was. A
/// device or a pipe is written directly. Every member throws std::runtime_error if writing fails.
class OutputFile {
 public:
  explicit OutputFile(const std::filesystem::path& path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  void write(std::string_view text);
  void commit();

 private:
  [[noreturn]] void fail() const;

  std::filesystem::path path_;
  std::filesystem::path temporary_;  // empty once there is none to remove
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  std::unique_ptr<std::FILE, Close> file_;
};

}  // namespace replay
