#pragma once

#include <atomic>
#include <filesystem>

namespace apps {

/// The name of a file that is not to outlive its use: the file is removed when this object goes,
/// and when SIGHUP, SIGINT or SIGTERM ends the program, even while it waits for input.
class TemporaryFile {
 public:
  /// Removes what an earlier run may have left under that name.
  explicit TemporaryFile(std::filesystem::path path);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  static void end_program(int signal);

  // All that there are, newest first. A signal may come between any two statements: one store links
  // or unlinks an object that is whole.
  static std::atomic<TemporaryFile*> newest_;
  std::filesystem::path path_;
  std::atomic<TemporaryFile*> older_;
};

}  // namespace apps
