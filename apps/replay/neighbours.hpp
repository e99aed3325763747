#pragma once

#include <functional>
#include <optional>
#include <utility>

namespace replay {

/// A sequence seen one item at a time together with the items before and after it.
template <class T>
class Neighbours {
 public:
  /// Gives the next item of the sequence; nothing past its end.
  using Source = std::function<std::optional<T>()>;

  explicit Neighbours(Source source) : source_(std::move(source)) {}

  /// Goes on to the next item, the first at the first call. False past the end.
  bool step() {
    if (!started_) after_ = source_();
    started_ = true;
    before_ = std::move(at_);
    at_ = std::move(after_);
    after_ = at_ ? source_() : std::nullopt;
    return at_.has_value();
  }

  /// The first and the last item have no neighbour on one side.
  bool inner() const { return before_ && after_; }

  const T& before() const { return *before_; }
  const T& at() const { return *at_; }
  const T& after() const { return *after_; }

 private:
  Source source_;
  bool started_ = false;
  std::optional<T> before_, at_, after_;
};

}  // namespace replay
