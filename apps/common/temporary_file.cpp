#include "apps/common/temporary_file.hpp"

#include <csignal>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace apps {
namespace {

// A signal that the program was started to ignore, as by nohup, stays ignored.
void call_at_end(void (*handler)(int)) {
  for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
    struct sigaction action = {};
    if (::sigaction(signal, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) continue;
    action.sa_handler = handler;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    ::sigaction(signal, &action, nullptr);
  }
}

}  // namespace

std::atomic<TemporaryFile*> TemporaryFile::newest_ = nullptr;

TemporaryFile::TemporaryFile(std::filesystem::path path)
    : path_(std::move(path)), older_(newest_.load()) {
  std::error_code absent;
  std::filesystem::remove(path_, absent);
  call_at_end(end_program);
  newest_ = this;
}

TemporaryFile::~TemporaryFile() {
  std::error_code absent;
  std::filesystem::remove(path_, absent);
  std::atomic<TemporaryFile*>* link = &newest_;
  while (*link != this) link = &link->load()->older_;
  *link = older_.load();
}

// Only what a signal handler may do; then the signal ends the program as it would have.
void TemporaryFile::end_program(int signal) {
  for (const TemporaryFile* file = newest_; file; file = file->older_) {
    ::unlink(file->path_.c_str());
  }
  ::raise(signal);
}

}  // namespace apps
