#pragma once

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <Eigen/Geometry>

#include "tests/quantities/fixture.hpp"

/// The walk that comes with the project, its rates formed as apps/replay/README.md says.
struct WalkSample {
  KT::Math::Transform root;
  tq::Coordinates dq = tq::Coordinates::Zero(), ddq = tq::Coordinates::Zero();
  std::vector<float> joints;
  tq::BodyWrenches feet = tq::BodyWrenches::Zero();
  bool stands(unsigned long foot) const { return feet.col(foot).norm() > 0; }
};

inline std::vector<WalkSample> read_walk() {
  std::ifstream file(WALK_CSV);
  std::vector<Eigen::VectorXd> rows;
  std::string line, cell;
  std::getline(file, line);
  while (std::getline(file, line)) {
    std::istringstream cells(line);
    Eigen::VectorXd row(41);
    for (double& value : row) {
      std::getline(cells, cell, ',');
      value = std::stod(cell);
    }
    rows.push_back(row);
  }
  const auto orientation = [](const Eigen::VectorXd& row) {
    return Eigen::Matrix3d(Eigen::AngleAxisd(row[6], Eigen::Vector3d::UnitZ()) *
                           Eigen::AngleAxisd(row[5], Eigen::Vector3d::UnitY()) *
                           Eigen::AngleAxisd(row[4], Eigen::Vector3d::UnitX()));
  };
  std::vector<WalkSample> walk(rows.size());
  for (std::size_t k = 0; k < rows.size(); ++k) {
    WalkSample& sample = walk[k];
    sample.root = tq::to_host({orientation(rows[k]), rows[k].segment<3>(1)});
    for (int j = 0; j < 22; ++j) sample.joints.push_back(static_cast<float>(rows[k][7 + j]));
    sample.feet.col(kLeftFoot) = rows[k].segment<6>(29);
    sample.feet.col(kRightFoot) = rows[k].segment<6>(35);
    if (k == 0 || k + 1 == rows.size()) continue;
    const Eigen::VectorXd &a = rows[k - 1], &b = rows[k + 1];
    const Eigen::AngleAxisd turn(orientation(a).transpose() * orientation(b));
    sample.dq << orientation(rows[k]).transpose() * (b - a).segment<3>(1),
        turn.angle() * turn.axis(), (b - a).segment<22>(7);
    sample.dq /= b[0] - a[0];
  }
  for (std::size_t k = 1; k + 1 < rows.size(); ++k) {
    walk[k].ddq = (walk[k + 1].dq - walk[k - 1].dq) / (rows[k + 1][0] - rows[k - 1][0]);
  }
  return walk;
}
