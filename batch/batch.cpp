#include "batch/batch.hpp"

#include <algorithm>
#include <cstddef>
#include <new>
#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/info.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/partitioner.h>
#include <oneapi/tbb/task_arena.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "batch/evaluate.hpp"
#include "batch/kernel.hpp"
#include "model/orvek23.hpp"

namespace tavo::batch {

constinit const Kernel baseline_kernel = metapod::batch::kernel<metapod::Orvek23Robot>();

namespace {

constexpr std::size_t nb_bodies = metapod::orvek23::nb_bodies;

const Kernel& kernel_of_this_machine() {
#ifdef __x86_64__
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
      __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl")) {
    return avx512_kernel;
  }
  if (__builtin_cpu_supports("avx2")) return avx2_kernel;
#endif
  return baseline_kernel;
}

/// Storage for one thread's workspace, which needs no destructor.
class Workspace {
 public:
  explicit Workspace(const Kernel& kernel)
      : alignment_(static_cast<std::align_val_t>(kernel.workspace_alignment)),
        storage_(::operator new(kernel.workspace_size, alignment_)) {
    kernel.construct(storage_);
  }
  Workspace(Workspace&& other) noexcept
      : alignment_(other.alignment_), storage_(std::exchange(other.storage_, nullptr)) {}
  ~Workspace() { ::operator delete(storage_, alignment_); }
  void* get() const { return storage_; }

 private:
  std::align_val_t alignment_;
  void* storage_;
};

/// The inertias of a call, about the bodies' origins, and their total mass summed in their order.
struct Inertias {
  SpatialInertia of_body[nb_bodies];
  float mass = 0;

  explicit Inertias(const BodyInertia* given) {
    constexpr auto built_in = metapod::orvek23::built_in_inertias();
    for (std::size_t i = 0; i < nb_bodies; ++i) {
      metapod::Spatial::Inertia inertia = built_in[i];
      if (given != nullptr) {
        const auto& [m, c, I] = given[i];
        inertia = metapod::Spatial::Inertia::at_com(m, {c[0], c[1], c[2]},
                                                    {I[0], I[1], I[2], I[3], I[4], I[5]});
      }
      const auto& [h, I] = std::pair(inertia.h(), inertia.I());
      const SpatialInertia e = {inertia.m(), h.x(),  h.y(),  h.z(),  I.xx(),
                                I.yx(),      I.yy(), I.zx(), I.zy(), I.zz()};
      std::copy(std::begin(e), std::end(e), of_body[i]);
      mass += inertia.m();
    }
  }
};

/// As many threads as there are processors that the process may use.
std::size_t default_concurrency() {
  return static_cast<std::size_t>(oneapi::tbb::info::default_concurrency());
}

void require_body(unsigned long body, unsigned long least, const char* what) {
  if (body >= nb_bodies || body < least) {
    throw std::invalid_argument(std::string(what) + " " + std::to_string(body) +
                                " is out of range: " + std::to_string(least) + " to " +
                                std::to_string(nb_bodies - 1));
  }
}

void check(const Inputs& in, const Outputs& out) {
  if (!in.q) throw std::invalid_argument("no coordinates q are given");
  for (std::size_t k = 0; k < in.nb_wrenches; ++k) {
    require_body(in.wrenches[k].body, 0, "wrench on body");
    if (!in.wrenches[k].rows) {
      throw std::invalid_argument("no rows are given for the wrench on body " +
                                  std::to_string(in.wrenches[k].body));
    }
  }
  if (out.partial_com_in_root) require_body(out.partial_body, 1, "partial_body");
  if (out.partial_com_jacobian) require_body(out.partial_body, 0, "partial_body");
}

}  // namespace

struct Engine::Impl {
  const Kernel& kernel;
  std::vector<Workspace> workspaces;
  /// So many threads are meant, even where there are fewer processors.
  oneapi::tbb::global_control allowed;
  oneapi::tbb::task_arena arena;

  explicit Impl(unsigned threads)
      : kernel(kernel_of_this_machine()),
        allowed(oneapi::tbb::global_control::max_allowed_parallelism,
                std::max<std::size_t>(threads, default_concurrency())),
        arena(static_cast<int>(threads)) {
    workspaces.reserve(threads);
    for (unsigned k = 0; k < threads; ++k) workspaces.emplace_back(kernel);
  }
};

Engine::Engine(unsigned threads)
    : impl_(std::make_unique<Impl>(threads != 0 ? threads
                                                : static_cast<unsigned>(default_concurrency()))) {}
Engine::~Engine() = default;
Engine::Engine(Engine&&) noexcept = default;
Engine& Engine::operator=(Engine&&) noexcept = default;

unsigned Engine::threads() const {
  return static_cast<unsigned>(impl_->workspaces.size());
}
std::size_t Engine::lanes() const {
  return impl_->kernel.lanes;
}

void Engine::evaluate(const Inputs& in, const Outputs& out) {
  check(in, out);
  const Inertias inertias(in.inertias);
  const Kernel& kernel = impl_->kernel;
  const std::size_t nb_blocks = (in.nb_states + kernel.lanes - 1) / kernel.lanes;
  const auto blocks = [&](std::size_t begin, std::size_t end, const Workspace& workspace) {
    for (std::size_t block = begin; block < end; ++block) {
      kernel.evaluate(workspace.get(), in, inertias.of_body, inertias.mass, out,
                      block * kernel.lanes);
    }
  };
  if (threads() == 1 || nb_blocks < 2) {
    blocks(0, nb_blocks, impl_->workspaces.front());
    return;
  }
  impl_->arena.execute([&] {
    using Range = oneapi::tbb::blocked_range<std::size_t>;
    oneapi::tbb::parallel_for(
        Range(0, nb_blocks, 4),
        [&](const Range& range) {
          const int thread = oneapi::tbb::this_task_arena::current_thread_index();
          blocks(range.begin(), range.end(), impl_->workspaces[static_cast<std::size_t>(thread)]);
        },
        oneapi::tbb::auto_partitioner());
  });
}

}  // namespace tavo::batch
