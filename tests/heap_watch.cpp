#include "tests/heap_watch.hpp"

#include <cstdlib>

test::HeapWatch test::heap_watch;

#ifndef MALLOC_IS_TAKEN
using test::heap_watch;

namespace {

bool refused() {
  if (!heap_watch.on) return false;
  const long k = heap_watch.asked;
  heap_watch.asked = k + 1;
  return k >= heap_watch.first && k <= heap_watch.last;
}
void* counted(void* block) {
  heap_watch.live = heap_watch.live + (heap_watch.on && block != nullptr);
  return block;
}

}  // namespace

extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void __libc_free(void*);

void* malloc(std::size_t size) {
  return refused() ? nullptr : counted(__libc_malloc(size));
}
void* calloc(std::size_t count, std::size_t size) {
  return refused() ? nullptr : counted(__libc_calloc(count, size));
}
void* realloc(void* block, std::size_t size) {
  if (refused()) return nullptr;
  return block == nullptr ? counted(__libc_realloc(block, size)) : __libc_realloc(block, size);
}
void free(void* block) {
  heap_watch.live = heap_watch.live - (heap_watch.on && block != nullptr);
  __libc_free(block);
}
}
#endif
