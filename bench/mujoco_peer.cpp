#include <algorithm>
#include <cstring>
#include <mujoco/mujoco.h>
#include <sstream>
#include <stdexcept>

#include <Eigen/Geometry>

#include "bench/peers.hpp"
#include "model/orvek23_data.hpp"

namespace bench {
namespace {

using Eigen::Matrix3d, Eigen::Vector3d;

/// Body `id` and its descendants.
void write_body(std::ostream& xml, int id) {
  const metapod::BodyRow& row = metapod::orvek23_bodies[id];
  const auto numbers = [&](const char* name, const auto&... values) {
    xml << ' ' << name << "='";
    for (const auto* triple : {&values...}) {
      for (float x : *triple) xml << x << ' ';
    }
    xml << '\'';
  };
  const auto& [E, r] = row.placement;
  xml << "<body name='" << row.name << '\'';
  numbers("pos", r);
  numbers("xyaxes", E[0], E[1]);  // rows of parent-to-body: the body's axes in the parent
  xml << (id == 0 ? "><freejoint/>" : "><joint axis='0 0 1'/>");
  xml << "<inertial mass='" << row.mass << "' pos='";
  for (float h : row.first_moment) xml << double{h} / double{row.mass} << ' ';
  xml << "' diaginertia='1e-12 1e-12 1e-12'/>";  // a point mass: nothing about its own centre
  for (std::size_t child = 0; child < nb_bodies; ++child) {
    if (metapod::orvek23_bodies[child].parent == id) write_body(xml, static_cast<int>(child));
  }
  xml << "</body>";
}

mjModel* load_robot() {
  std::ostringstream xml;
  xml.precision(17);
  xml << "<mujoco><compiler angle='radian'/><option gravity='0 0 -9.81'>"
         "<flag contact='disable'/></option><worldbody>";
  write_body(xml, 0);
  xml << "</worldbody></mujoco>";

  const std::string text = xml.str();
  const auto files = std::make_unique<mjVFS>();
  mj_defaultVFS(files.get());
  mj_makeEmptyFileVFS(files.get(), "robot.xml", static_cast<int>(text.size()));
  std::memcpy(files->filedata[0], text.data(), text.size());
  std::array<char, 1000> error{};
  mjModel* model = mj_loadXML("robot.xml", files.get(), error.data(), error.size());
  mj_deleteVFS(files.get());
  if (model == nullptr) throw std::runtime_error(std::string("MuJoCo: ") + error.data());
  return model;
}

/// Its free joint has the linear rates in world axes, the angular ones in the root's.
class MujocoPeer final : public Peer {
 public:
  explicit MujocoPeer(const std::vector<State>& states) {
    for (const State& s : states) states_.push_back(converted(s));
  }

  std::string name() const override { return "MuJoCo"; }
  std::string version() const override { return mj_versionString(); }
  std::string fk_calls() const override { return "mj_kinematics, mj_comPos"; }
  std::string id_calls() const override { return fk_calls() + ", mj_comVel, mj_rne; no wrenches"; }
  std::string mass_calls() const override { return fk_calls() + ", mj_crb"; }

  void set(std::size_t k) override {
    const MujocoState& s = states_[k];
    std::copy(s.qpos.begin(), s.qpos.end(), data_->qpos);
    std::copy(s.qvel.begin(), s.qvel.end(), data_->qvel);
    std::copy(s.qacc.begin(), s.qacc.end(), data_->qacc);
  }
  void fk() override {
    mj_kinematics(model_.get(), data_.get());
    mj_comPos(model_.get(), data_.get());
  }
  void id() override {
    fk();
    mj_comVel(model_.get(), data_.get());
    mj_rne(model_.get(), data_.get(), 1, torques_.data());
  }
  void mass() override {
    fk();
    mj_crb(model_.get(), data_.get());
  }

  State comparable(State s) const override {
    for (auto& wrench : s.wrenches) std::fill(wrench.begin(), wrench.end(), 0.0f);
    return s;
  }
  Answers answers() override;

 private:
  using Coordinates = Eigen::Matrix<double, 28, 1>;
  struct MujocoState {
    Eigen::Matrix<double, 29, 1> qpos;
    Coordinates qvel, qacc;
  };
  static MujocoState converted(const State& s);

  std::unique_ptr<mjModel, decltype(&mj_deleteModel)> model_{load_robot(), mj_deleteModel};
  std::unique_ptr<mjData, decltype(&mj_deleteData)> data_{mj_makeData(model_.get()), mj_deleteData};
  std::vector<MujocoState> states_;
  Coordinates torques_ = Coordinates::Zero();
};

MujocoPeer::MujocoState MujocoPeer::converted(const State& s) {
  const Eigen::Map<const Eigen::Matrix<float, 3, 4, Eigen::RowMajor>> pose(s.root_pose.m);
  const Matrix3d R = pose.leftCols<3>().cast<double>();
  const auto &dv = s.root_velocity, &da = s.root_acceleration;
  const Vector3d v(dv.vx, dv.vy, dv.vz), w(dv.wx, dv.wy, dv.wz);
  const Eigen::Quaterniond turn(R);
  const auto joints = [](const std::vector<float>& x) {
    return Eigen::Map<const Eigen::VectorXf>(x.data(), nb_joints).cast<double>();
  };
  MujocoState m;
  m.qpos << pose.col(3).cast<double>(), turn.w(), turn.vec(), joints(s.q);
  m.qvel << R * v, w, joints(s.dq);
  m.qacc << R * (Vector3d(da.vx, da.vy, da.vz) + w.cross(v)), da.wx, da.wy, da.wz, joints(s.ddq);
  return m;
}

Answers MujocoPeer::answers() {
  id();
  mass();
  Answers a;
  using Matrix3r = Eigen::Matrix<double, 3, 3, Eigen::RowMajor>;
  const auto rotation = [&](std::size_t i) {  // its body 0 is the world
    return Eigen::Map<const Matrix3r>(data_->xmat + 9 * (i + 1));
  };
  const auto origin = [&](std::size_t i) {
    return Eigen::Map<const Vector3d>(data_->xpos + 3 * (i + 1));
  };
  for (std::size_t i = 0; i < nb_bodies; ++i) {
    a.poses.col(i) << Matrix3d(rotation(i)).reshaped(), origin(i);
  }
  a.com = Eigen::Map<const Vector3d>(data_->subtree_com + 3);
  const Matrix3d R = rotation(0);
  for (std::size_t i = 0; i < nb_joints; ++i) {  // cdof: angular, then linear at the centre of mass
    const Eigen::Map<const Vector3d> w(data_->cdof + 6 * (6 + i)), v(w.data() + 3);
    a.jacobian.col(i) << R.transpose() * w, R.transpose() * (v + w.cross(origin(0) - a.com));
  }
  a.torques = torques_.tail(nb_joints);
  Eigen::Matrix<double, 28, 28> H, root_axes = decltype(root_axes)::Identity();
  mj_fullM(model_.get(), H.data(), data_->qM);
  root_axes.topLeftCorner<3, 3>() = R;
  a.mass = root_axes.transpose() * H * root_axes;
  return a;
}

}  // namespace

std::unique_ptr<Peer> mujoco_peer(const std::vector<State>& states) {
  return std::make_unique<MujocoPeer>(states);
}

}  // namespace bench
