#include "apps/replay/report/body_table.hpp"

namespace replay {

std::vector<TableBody> body_table(const Observation& observed) {
  const tavo::RigidBodySystem& system = observed.system();
  const quantities::Model& model = observed.state().model();
  std::vector<TableBody> bodies;
  for (int i = 0; i < quantities::nb_bodies; ++i) {
    const auto body = static_cast<unsigned long>(i);
    const int parent = model.parent(i);
    quantities::Pose in_parent;
    if (parent >= 0) {
      const auto above = static_cast<unsigned long>(parent);
      in_parent = quantities::from_host(system.getPoseInRoot(above)).inverse() *
                  quantities::from_host(system.getPoseInRoot(body));
    }
    bodies.push_back({system.getBodyName(body), parent, in_parent, model.com(i), model.mass(i)});
  }
  return bodies;
}

}  // namespace replay
