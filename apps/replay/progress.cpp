#include "apps/replay/progress.hpp"

#include <algorithm>
#include <utility>

namespace replay {

using namespace std::chrono_literals;

Progress::Progress(std::ostream* terminal, std::function<Clock::time_point()> now)
    : terminal_(terminal), now_(std::move(now)), due_(now_() + 2s) {}

Progress::~Progress() {
  if (!line_.empty()) *terminal_ << '\r' << std::string(line_.size(), ' ') << '\r' << std::flush;
}

void Progress::show(std::size_t samples, std::optional<double> share) {
  if (!terminal_ || now_() < due_) return;
  due_ = now_() + 200ms;
  std::string line = std::to_string(samples) + " samples";
  if (share) line += ", " + std::to_string(static_cast<int>(100 * *share)) + " %";
  line.resize(std::max(line.size(), line_.size()), ' ');
  line_ = std::move(line);
  *terminal_ << '\r' << line_ << std::flush;
}

}  // namespace replay
