#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace replay {

/// A series of any length in bounded memory: when it is full, neighbours are merged in pairs, so
/// that every item stands for twice as many as before. T::merge(later) merges.
template <class T>
class Thinned {
 public:
  /// Keeps at most `limit` items, an even number.
  explicit Thinned(std::size_t limit) : limit_(limit) {}

  void add(T item) {
    if (added_++ % stride_ != 0) {
      items_.back().merge(item);
      return;
    }
    if (items_.size() == limit_) halve();
    items_.push_back(std::move(item));
  }

  const std::vector<T>& items() const { return items_; }

 private:
  void halve() {
    for (std::size_t i = 0; i < limit_ / 2; ++i) {
      T first = std::move(items_[2 * i]);
      first.merge(items_[2 * i + 1]);
      items_[i] = std::move(first);
    }
    items_.resize(limit_ / 2);
    stride_ *= 2;
  }

  std::size_t limit_;
  std::size_t stride_ = 1;
  std::size_t added_ = 0;
  std::vector<T> items_;
};

}  // namespace replay
