#pragma once

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define MALLOC_IS_TAKEN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define MALLOC_IS_TAKEN 1
#endif
#endif

/// Watches malloc itself, since Eigen does not use operator new: the definitions of heap_watch.cpp
/// take the place of the C library's for the whole program and every library that it loads.
namespace test {

/// Volatile: compilers take malloc to touch nothing of ours.
struct HeapWatch {
  volatile bool on = false;
  volatile long asked = 0, live = 0;
  volatile long first = -1, last = -1;
};
extern HeapWatch heap_watch;

struct Heap {
  long asked;  ///< allocations asked for
  long live;   ///< blocks made and not freed
};

/// What `action` does to the heap; allocations number first..last fail. Sees nothing, and lets all
/// succeed, where MALLOC_IS_TAKEN by a sanitizer.
template <class Action>
Heap watch_heap(const Action& action, long first = -1, long last = -1) {
  heap_watch.asked = 0;
  heap_watch.live = 0;
  heap_watch.first = first;
  heap_watch.last = last;
  heap_watch.on = true;
  action();
  heap_watch.on = false;
  return {heap_watch.asked, heap_watch.live};
}

}  // namespace test
