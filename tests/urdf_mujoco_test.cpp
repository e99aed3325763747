// The URDF in MuJoCo.

#include <cstring>
#include <memory>
#include <mujoco/mujoco.h>

#include "tests/urdf_fixture.hpp"

namespace {

using Model = std::unique_ptr<mjModel, decltype(&mj_deleteModel)>;

Model load(const std::string& document, std::string& complaint) {
  const auto files = std::make_unique<mjVFS>();
  mj_defaultVFS(files.get());
  mj_makeEmptyFileVFS(files.get(), "orvek23.urdf", static_cast<int>(document.size()));
  std::memcpy(files->filedata[0], document.data(), document.size());
  std::array<char, 1000> error{};
  Model model(mj_loadXML("orvek23.urdf", files.get(), error.data(), error.size()), mj_deleteModel);
  mj_deleteVFS(files.get());
  complaint = error.data();
  return model;
}

struct RootCase {
  const char* name;
  int coordinates, bodies;  // bodies: with the world's
};
void PrintTo(const RootCase& root, std::ostream* out) {
  *out << root.name;
}
class MujocoUrdf : public PluginTest, public testing::WithParamInterface<RootCase> {};

// Zero inertias are refused; a link that does not move and its mass are lost unless told otherwise.
TEST_P(MujocoUrdf, HasThePluginsMassPosesAndCentreOfMass) {
  std::string complaint;
  const Model model =
      load(test::urdf_document(std::string("--root ") + GetParam().name), complaint);
  ASSERT_NE(model, nullptr) << complaint;
  EXPECT_EQ(complaint, "");
  EXPECT_EQ(model->nv, GetParam().coordinates);
  EXPECT_EQ(model->nbody, GetParam().bodies);
  EXPECT_GT(model->ngeom, 15) << "something to see";
  const std::unique_ptr<mjData, decltype(&mj_deleteData)> data(mj_makeData(model.get()),
                                                               mj_deleteData);
  test::expect_agreement(robot, [&](const oracle::Vector& q) {
    for (unsigned long i = 0; i < robot.getNbDofs(); ++i) {
      const std::string name = test::joint_name(robot.getJointAngleName(i));
      const int joint = mj_name2id(model.get(), mjOBJ_JOINT, name.c_str());
      data->qpos[model->jnt_qposadr[joint]] = q[static_cast<Eigen::Index>(i)];
    }
    mj_kinematics(model.get(), data.get());
    mj_comPos(model.get(), data.get());
    test::Reading reading{
        mj_getTotalmass(model.get()),
        oracle::Vector3(data->subtree_com[0], data->subtree_com[1], data->subtree_com[2]),
        {}};
    for (unsigned long i = 0; i < robot.getNbBodies(); ++i) {
      const int body = mj_name2id(model.get(), mjOBJ_BODY, robot.getBodyName(i).c_str());
      using Matrix3r = Eigen::Matrix<double, 3, 3, Eigen::RowMajor>;
      reading.poses_root[i] = {Eigen::Map<const Matrix3r>(data->xmat + 9 * body),
                               Eigen::Map<const oracle::Vector3>(data->xpos + 3 * body)};
    }
    return reading;
  });
}

INSTANTIATE_TEST_SUITE_P(Roots, MujocoUrdf,
                         testing::Values(RootCase{"world", 22, 24}, RootCase{"floating", 28, 24},
                                         RootCase{"base_link", 22, 25}, RootCase{"none", 22, 24}),
                         [](const auto& root) { return root.param.name; });

TEST(MujocoRefuses, ABodyWithoutRotationalInertia) {
  std::string complaint;
  EXPECT_EQ(load(test::urdf_document("--least-inertia 0"), complaint), nullptr);
  EXPECT_NE(complaint.find("inertia"), std::string::npos) << complaint;
}

}  // namespace
