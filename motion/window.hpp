#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <optional>
#include <utility>

namespace tavo::motion {

/// A sequence seen one item at a time, together with up to `reach` items before and after it. No
/// more than these are kept.
template <class T>
class Window {
 public:
  /// Gives the next item of the sequence; nothing past its end.
  using Source = std::function<std::optional<T>()>;

  /// Sees `reach` items to either side.
  Window(Source source, std::size_t reach) : source_(std::move(source)), reach_(reach) {}

  /// Goes on to the next item, the first at the first call. False past the end.
  bool step() {
    if (started_ && at_ < items_.size()) ++at_;
    started_ = true;
    while (!ended_ && items_.size() <= at_ + reach_) {
      if (std::optional<T> item = source_()) {
        items_.push_back(std::move(*item));
      } else {
        ended_ = true;
      }
    }
    if (at_ > reach_) {
      items_.pop_front();
      --at_;
    }
    return at_ < items_.size();
  }

  /// The item `offset` places after the present one (before it if negative), within reach; null
  /// where the sequence has none.
  const T* at(std::ptrdiff_t offset) const {
    const std::ptrdiff_t place = static_cast<std::ptrdiff_t>(at_) + offset;
    const bool known = place >= 0 && place < static_cast<std::ptrdiff_t>(items_.size());
    return known ? &items_[static_cast<std::size_t>(place)] : nullptr;
  }

 private:
  Source source_;
  std::size_t reach_;
  std::deque<T> items_;
  std::size_t at_ = 0;  ///< among items_
  bool started_ = false, ended_ = false;
};

}  // namespace tavo::motion
