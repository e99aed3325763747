#include "motion/motion_writer.hpp"

#include <cmath>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "motion/motion_file.hpp"
#include "tests/replay_fixture.hpp"

namespace {

using tavo::motion::MotionFile, tavo::motion::MotionWriter, tavo::motion::RobotNames,
    tavo::motion::Sample;

class Writer : public Replay {
 protected:
  std::vector<Sample> samples(const std::string& motion, const RobotNames& names) const {
    write("motion.csv", motion);
    MotionFile file((folder_ / "motion.csv").string(), names);
    std::vector<Sample> all;
    while (std::optional<Sample> sample = file.next()) all.push_back(*sample);
    return all;
  }
};

bool same(const Eigen::VectorXd& a, const Eigen::VectorXd& b) {
  return a.size() == b.size() &&
         ((a.array() == b.array()) || (a.array().isNaN() && b.array().isNaN())).all();
}

// What is written reads back to the same numbers: the walk with its wrenches, some rates beside.
TEST_F(Writer, IsReadBack) {
  const RobotNames names{{walk()[0].begin() + 7, walk()[0].begin() + 29},
                         {"LAnkleRoll", "RAnkleRoll"}};
  std::vector<Sample> before = samples(text(walk()), names);
  for (Sample& sample : before) {
    sample.velocity.head<6>().setConstant(1.0 / 3);
    sample.acceleration(9) = sample.time / 7;
  }
  std::ostringstream out;
  MotionWriter writer(out, names, {0, 1});
  for (const Sample& sample : before) writer.add(sample);
  const std::vector<Sample> after = samples(out.str(), names);
  ASSERT_EQ(after.size(), before.size());
  for (std::size_t i = 0; i < after.size(); ++i) {
    EXPECT_EQ(after[i].time, before[i].time);
    EXPECT_EQ(after[i].p_world, before[i].p_world);
    EXPECT_LT((after[i].R_world - before[i].R_world).norm(), 1e-15);
    EXPECT_TRUE(same(after[i].q, before[i].q));
    EXPECT_TRUE(same(after[i].wrenches, before[i].wrenches));
    EXPECT_TRUE(same(after[i].velocity, before[i].velocity));
    EXPECT_TRUE(same(after[i].acceleration, before[i].acceleration));
  }
}

// A sample that does not fit the header is refused before anything of it is written.
TEST_F(Writer, RefusesWhatDoesNotFit) {
  const Eigen::VectorXd none = Eigen::VectorXd::Constant(7, std::nan(""));
  const Sample good{
      0,    0,   Eigen::Vector3d::Zero(), Eigen::Matrix3d::Identity(), Eigen::VectorXd::Zero(1), {},
      none, none};
  std::ostringstream out;
  MotionWriter writer(out, {{"j"}, {"A"}});
  writer.add(good);
  const std::string written = out.str();
  EXPECT_EQ(written, "time,x,y,z,qw,qx,qy,qz,j\n0,0,0,0,1,0,0,0,0\n");
  std::vector<Sample> bad(5, good);
  bad[0].q.resize(2);
  bad[1].wrenches.setZero(6);
  bad[2].velocity.resize(1);
  bad[3].velocity.head<2>().setZero();
  bad[4].acceleration(6) = 0;
  for (const Sample& sample : bad) EXPECT_THROW(writer.add(sample), std::invalid_argument);
  EXPECT_EQ(out.str(), written);
}

TEST_F(Writer, ReadersTakeWhatIsTooSmallForZeroAndNoRobotThatIsTooLarge) {
  const std::string header = "time,x,y,z,qw,qx,qy,qz,j\n";
  EXPECT_EQ(samples(header + "0,0,0,0,1,0,0,0,-1e-400\n", {{"j"}, {}}).at(0).q(0), 0);
  EXPECT_THROW(samples(header, {std::vector<std::string>(23, "j"), {}}), std::invalid_argument);
  EXPECT_THROW(samples(header, {{}, std::vector<std::string>(24, "A")}), std::invalid_argument);
}

}  // namespace
