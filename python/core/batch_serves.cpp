#include <algorithm>
#include <cstring>
#include <random>

#include "python/core/worker.hpp"

namespace orvek23::python {

bool batch_serves(Robot& robot, std::shared_ptr<const std::vector<batch::BodyInertia>>& inertias) {
  const OpenPlugin& plugin = robot.plugin();
  if (plugin.path != companion_plugin()) return false;
  if (!plugin.inertias.empty()) {
    auto all = std::make_shared<std::vector<batch::BodyInertia>>();
    tavo::Plugin::System at_origin;
    {
      const Exclusive alone;
      at_origin = plugin.plugin.create();
    }
    for (unsigned long i = 0; i < nb_bodies; ++i) {
      const auto handed = plugin.inertias.find(i);
      if (handed != plugin.inertias.end()) {
        all->push_back(handed->second);
      } else {
        const KT::Math::Position3D c = at_origin->getComPosition(i);
        all->push_back({at_origin->getMass(i), {c.x, c.y, c.z}, {}});
      }
    }
    inertias = all;
  }

  constexpr std::size_t n = 16;
  std::mt19937 random(1);
  const auto number = [&random] { return static_cast<float>(random() % 4001) / 1000 - 2; };
  std::vector<float> q(n * nb_dofs), dq(q), ddq(q), torques(q), com(3 * n), poses(276 * n),
      jacobians(168 * n);
  for (std::vector<float>* values : {&q, &dq, &ddq}) {
    std::generate(values->begin(), values->end(), number);
  }
  std::vector<float> roots;
  for (std::size_t k = 0; k < n; ++k) {
    const float* const x = &q[nb_dofs * k];
    const KT::Math::Transform root =
        KT::Math::transformFromPosition6D({x[0], x[1], x[2], x[3], x[4] / 2, x[5]});
    roots.insert(roots.end(), root.m, root.m + 12);
  }
  batch::Inputs in;
  in.nb_states = n;
  in.root_pose = {roots.data(), 12};
  in.q = {q.data(), nb_dofs};
  in.dq = {dq.data(), nb_dofs};
  in.ddq = {ddq.data(), nb_dofs};
  in.inertias = inertias ? inertias->data() : nullptr;
  batch::Outputs out;
  out.com = {com.data(), 3};
  out.poses = {poses.data(), 276};
  out.jacobian = {jacobians.data(), 168};
  out.torques = {torques.data(), nb_dofs};
  batch::Engine(1).evaluate(in, out);

  tavo::Plugin::System system;
  {
    const Exclusive alone;
    system = plugin.plugin.create();
  }
  const auto same = [](const float* a, const float* b, std::size_t size) {
    return std::memcmp(a, b, size * sizeof(float)) == 0;
  };
  for (std::size_t k = 0; k < n; ++k) {
    const auto joints = [k](const std::vector<float>& rows) {
      return std::vector<float>(&rows[nb_dofs * k + 6], &rows[nb_dofs * k] + nb_dofs);
    };
    const auto six = [k](const std::vector<float>& rows) {
      const float* const v = &rows[nb_dofs * k];
      return KT::Math::Velocity6D(v[0], v[1], v[2], v[3], v[4], v[5]);
    };
    KT::Math::Transform root;
    std::copy_n(&roots[12 * k], 12, root.m);
    system->setRootPose(root);
    system->setRootVelocity(six(dq));
    system->setRootAcceleration(six(ddq));
    system->setJointAnglesPos(joints(q));
    system->setJointAnglesVel(joints(dq));
    system->setJointAnglesAcc(joints(ddq));
    system->computeFwdKinematics();
    system->computeInverseDynamics();
    if (!same(&system->getComPosition().x, &com[3 * k], 3) ||
        !same(system->getJacobianInRoot().data(), &jacobians[168 * k], 168) ||
        !same(system->getJointAnglesTorque().first, &torques[nb_dofs * k + 6], nb_joints)) {
      return false;
    }
    for (std::size_t i = 0; i < nb_bodies; ++i) {
      if (!same(system->getPose(i).m, &poses[276 * k + 12 * i], 12)) return false;
    }
  }
  return true;
}

}  // namespace orvek23::python
