#include "apps/replay/plot/gnuplot.hpp"

#include <array>
#include <cerrno>
#include <cstring>
#include <spawn.h>
#include <stdexcept>
#include <string_view>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace replay {
namespace {

[[noreturn]] void fail(const std::string& fault) {
  throw std::runtime_error("gnuplot: " + fault);
}

// A file in memory: unlike pipes, three of them can stand ready at once and none can block.
class MemoryFile {
 public:
  explicit MemoryFile(const char* name) : descriptor_(::memfd_create(name, MFD_CLOEXEC)) {
    if (descriptor_ < 0) fail(std::strerror(errno));
  }
  ~MemoryFile() { ::close(descriptor_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  int descriptor() const { return descriptor_; }

  void write(std::string_view text) {
    while (!text.empty()) {
      const ssize_t written = ::write(descriptor_, text.data(), text.size());
      if (written < 0 && errno != EINTR) fail(std::strerror(errno));
      if (written > 0) text.remove_prefix(static_cast<std::size_t>(written));
    }
    ::lseek(descriptor_, 0, SEEK_SET);
  }

  std::string contents() {
    ::lseek(descriptor_, 0, SEEK_SET);
    std::string text;
    std::array<char, 1 << 16> block;
    for (ssize_t count; (count = ::read(descriptor_, block.data(), block.size())) != 0;) {
      if (count < 0 && errno != EINTR) fail(std::strerror(errno));
      if (count > 0) text.append(block.data(), static_cast<std::size_t>(count));
    }
    return text;
  }

 private:
  int descriptor_;
};

[[noreturn]] void fail_without_gnuplot() {
  fail("not found; a picture needs it (Debian package gnuplot-nox)");
}

// Starts gnuplot with these as its standard input, output and error. No shell is in between.
pid_t start(const MemoryFile& in, const MemoryFile& out, const MemoryFile& err) {
  std::string name = "gnuplot", no_settings_of_the_user = "-d", from_standard_input = "-";
  char* const arguments[] = {name.data(), no_settings_of_the_user.data(),
                             from_standard_input.data(), nullptr};
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_adddup2(&files, in.descriptor(), STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&files, out.descriptor(), STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&files, err.descriptor(), STDERR_FILENO);
  pid_t process = 0;
  const int fault = ::posix_spawnp(&process, name.c_str(), &files, nullptr, arguments, environ);
  posix_spawn_file_actions_destroy(&files);
  if (fault == ENOENT) fail_without_gnuplot();
  if (fault != 0) fail(std::string("cannot be started: ") + std::strerror(fault));
  return process;
}

int wait_for(pid_t process) {
  int status = 0;
  while (::waitpid(process, &status, 0) < 0) {
    if (errno != EINTR) fail(std::strerror(errno));
  }
  return status;
}

// gnuplot shows the script's line and a mark below it first, then says what is wrong.
std::string last_line(std::string_view text) {
  const std::size_t last = text.find_last_not_of(" \n");
  if (last == std::string_view::npos) return "failed without a message";
  text = text.substr(0, last + 1);
  text.remove_prefix(text.find_last_of('\n') + 1);  // npos + 1 is 0
  return std::string(text.substr(text.find_first_not_of(' ')));
}

}  // namespace

std::string run_gnuplot(const std::string& script) {
  MemoryFile in("script"), out("picture"), err("errors");
  in.write(script);
  const int status = wait_for(start(in, out, err));
  if (WIFSIGNALED(status)) fail(std::string("ended by signal: ") + ::strsignal(WTERMSIG(status)));
  // How a system tells that cannot tell at once, as POSIX allows.
  if (WEXITSTATUS(status) == 127) fail_without_gnuplot();
  if (status != 0) fail(last_line(err.contents()));
  return out.contents();
}

std::string gnuplot_quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted.append(c == '\'' ? 2 : 1, c);
  return quoted + "'";
}

}  // namespace replay
