"""One state: the plug-in's operations, their errors, views, threads; the quantities."""

import copy
import gc
import os
import pickle
import re
import subprocess
import sys
import threading

import numpy as np
import pytest
from hypothesis import given, settings
from hypothesis import strategies as st
from hypothesis.extra import numpy as arrays
from scipy.spatial.transform import Rotation

import orvek23
from orvek23 import quantities as Q

ANGLES = st.floats(-3, 3, width=32)
STATES = arrays.arrays(float, (3, 28), elements=ANGLES)


def posed(x):
    robot = orvek23.Robot()
    robot.set(q=x[0, 6:], dq=x[1, 6:], ddq=x[2, 6:], root=x[0, :6], root_velocity=x[1, :6],
              root_acceleration=x[2, :6], wrenches={"LAnkleRoll": x[1, :6]})  # fmt: skip
    robot.forward()
    robot.compute_generalized_mass()
    robot.compute_inverse_dynamics()
    return robot


def results(robot):
    return np.concatenate(
        [robot.get_pose(i).ravel() for i in range(23)]
        + [robot.get_com_position(), robot.get_joint_angles_torque()]
        + [robot.get_generalized_mass().ravel(), robot.get_jacobian_in_root().ravel()]
    )


def test_every_operation_is_there():
    header = open(os.environ["ORVEK23_INTERFACE"]).read()
    names = set(re.findall(r"virtual [^;~]*?(\w+)\(", header))
    assert len(names) >= 50
    missing = {n for n in names if not hasattr(orvek23.Robot, re.sub("([A-Z])", r"_\1", n).lower())}
    assert not missing


@settings(max_examples=40, deadline=None)
@given(STATES)
def test_copies_and_pickles_compute_the_same_bits(x):
    robot = posed(x)
    want = results(robot)
    for other in (copy.copy(robot), copy.deepcopy(robot), pickle.loads(pickle.dumps(robot))):
        assert np.array_equal(results(other), want, equal_nan=True)
        other.set(q=np.zeros(22))
        other.forward()
    assert np.array_equal(results(robot), want, equal_nan=True)


@settings(max_examples=40, deadline=None)
@given(arrays.arrays(float, 6, elements=ANGLES))
def test_root_poses_in_every_form_are_the_same(x):
    turn = Rotation.from_euler("ZYX", x[:2:-1])
    T = np.eye(4)
    T[:3, :3], T[:3, 3] = turn.as_matrix(), x[:3]
    quat = np.roll(turn.as_quat(), 1)
    forms = [T, T[:3], x, (turn, x[:3]), (T[:3, :3], x[:3]), (x[3:], x[:3]), (quat, x[:3]),
             np.r_[x[:3], quat], T.tolist()]  # fmt: skip
    robot = orvek23.Robot()
    for form in forms:
        robot.set(root=form)
        robot.forward()
        assert np.allclose(robot.pose("Torso"), T, atol=1e-6)


def test_set_takes_names_and_leaves_the_rest():
    robot = orvek23.Robot()
    robot.set(q=np.arange(22))
    robot.set(q={"LKneePitch": 0.5, 3: 0.25})
    want = np.arange(22.0)
    want[[9, 3]] = 0.5, 0.25
    assert np.array_equal(robot.get_joint_angles_pos(), want)


E4 = np.eye(4)
BAD = [
    (lambda r: r.get_pose("LAnkelPitch"), KeyError, 'did you mean "LAnklePitch"'),
    (lambda r: r.get_pose(23), IndexError, "no body 23"),
    (lambda r: r.get_pose(-1), IndexError, "no body -1"),
    (lambda r: r.get_pose(10**30), IndexError, ""),
    (lambda r: r.get_pose(1.5), TypeError, "name or an index"),
    (lambda r: r.get_joint_angle_torque("Torso"), KeyError, "joint angle"),
    (lambda r: r.set_joint_angle_pos(22, 0), IndexError, "no joint angle 22"),
    (lambda r: r.get_volatile_pose(1), IndexError, "volatile"),
    (lambda r: r.set(q=np.zeros(21)), ValueError, "21 entries, 22 needed"),
    (lambda r: r.set(q="zero"), ValueError, "numbers are needed"),
    (lambda r: r.set(q={"LKneePich": 1}), KeyError, "LKneePitch"),
    (lambda r: r.set(root=2 * E4), ValueError, "no rotation"),
    (lambda r: r.set(root=np.diag([1, 1, -1, 1])), ValueError, "no rotation"),
    (lambda r: r.set(root=([1, 1, 0, 0], [0, 0, 0])), ValueError, "length"),
    (lambda r: r.set(root=[0, 0, np.nan, 0, 0, 0]), ValueError, "not finite"),
    (lambda r: r.set(root=[1, 2, 3]), ValueError, "a pose is"),
    (lambda r: r.set(wrenches={"LAnkleRoll": [1, 2]}), ValueError, "6 needed"),
    (lambda r: r.set_body_inertia(3, -1, [0, 0, 0]), ValueError, "mass"),
    (lambda r: orvek23.Robot("/no/plugin.so"), FileNotFoundError, "plugin.so"),
    (lambda r: orvek23.Robot(__file__), ImportError, "cannot open plug-in"),
    (lambda r: Q.jacobian(Q.State(r), ("Torso", [0, 0]), Q.Frame.body), ValueError, "3 needed"),
    (lambda r: Q.stance(Q.State(r), "LAnkleRol"), KeyError, "LAnkleRoll"),
    (lambda r: Q.Sole(r, 12, [[0, 0, 0]] * 3), ValueError, ""),
    (lambda r: Q.Identification(np.zeros((2, 2))), ValueError, "230"),
]


@pytest.mark.parametrize("case", range(len(BAD)))
def test_bad_arguments_say_what_is_wrong_and_change_nothing(case):
    call, kind, text = BAD[case]
    robot = posed(np.full((3, 28), 0.25))
    before = pickle.dumps(robot)
    with pytest.raises(kind, match=re.escape(text)):
        call(robot)
    assert pickle.dumps(robot) == before


def test_set_with_one_fault_sets_nothing():
    robot = orvek23.Robot()
    before = pickle.dumps(robot)
    with pytest.raises(ValueError):
        robot.set(q=np.ones(22), root=E4, dq=[1], wrenches={0: np.ones(6)})
    assert pickle.dumps(robot) == before


def test_views_are_read_only_live_and_keep_the_robot():
    robot = posed(np.full((3, 28), 0.25))
    views = [robot.get_pose(5), robot.get_root_pose(), robot.get_jacobian_in_root(), robot.get_generalized_mass(),
             robot.get_joint_angles_torque(), robot.get_com_position(), robot.get_joint_angles_pos()]  # fmt: skip
    copies = [view.copy() for view in views]
    for view in views:
        assert view.base is robot
        with pytest.raises(ValueError):
            view[...] = 0
        with pytest.raises(ValueError):
            view.flags.writeable = True
    robot.set(q=np.zeros(22))
    assert not views[-1].any()  # live
    robot.set(q=np.full(22, 0.25))
    robot.close()
    with pytest.raises(ValueError, match="closed"):
        robot.forward()
    del robot
    gc.collect()
    clutter = [orvek23.Robot() for _ in range(50)]
    assert all(np.array_equal(*pair) for pair in zip(views, copies)) and clutter


def test_threads_have_a_robot_each():
    x = np.random.default_rng(2).uniform(-1, 1, (200, 3, 28))
    want = [results(posed(row)) for row in x]
    faults, shared = [], orvek23.Robot()

    def work():
        for row, expected in zip(x, want):
            if not np.array_equal(results(posed(row)), expected):
                faults.append("other bits")
            try:  # one robot in two threads is refused or has its turn, and never breaks
                shared.forward()
            except RuntimeError:
                pass

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not faults


def test_nothing_leaks():
    def use(times):
        robot = orvek23.Robot()
        state = Q.State(robot)
        for _ in range(times):
            robot.set(q={"LKneePitch": 0.5}, root=E4)
            robot.forward()
            robot.get_pose("LAnkleRoll")
            robot.inverse()
            robot.compute_partial_com_jacobian(3)
            state.update()
            Q.jacobian(state, 12, Q.Frame.world)
            try:
                robot.get_pose("nobody")
            except KeyError:
                pass

    def resident():
        gc.collect()
        return int(open("/proc/self/statm").read().split()[1]) * os.sysconf("SC_PAGE_SIZE")

    use(5_000)
    before = resident()
    use(int(os.environ.get("ORVEK23_CALLS", "1000000")) // 8)
    assert resident() - before < 500_000


def test_inertias_belong_to_the_process_and_reach_quantities_and_batches(tmp_path):
    program = """
import numpy as np, orvek23, pickle, sys
from orvek23 import quantities as Q
m = orvek23.load(sys.argv[1])
plain = orvek23.evaluate(m, ("com", "torque", "pose"))
assert plain.computed_by == "batch"
robot, other = orvek23.Robot(), orvek23.Robot()
robot.set_body_inertia("LElbowRoll", 0.4, [0, -0.1, 0], np.diag([2e-3, 1e-3, 2e-3]))
assert abs(other.get_mass() - 5.10337) < 1e-5 and pickle.loads(pickle.dumps(other)).get_mass(6) == np.float32(0.4)
heavy = orvek23.evaluate(m, ("com", "torque", "pose"), threads=2)
assert not np.array_equal(heavy.torque, plain.torque)
same = orvek23.evaluate(m, ("com", "torque", "pose", "zmp"))
assert same.computed_by == "plug-in" and np.array_equal(heavy.torque, same.torque) and np.array_equal(heavy.com, same.com)
state, (dq, ddq) = Q.State(other), m.rates()
other.set(q=m.q[400], root=(m.rotation[400], m.position[400]))
other.forward()
state.update(dq[400], ddq[400])
w = {b: m.wrenches[400, 6 * k : 6 * k + 6] for k, b in enumerate(m.wrench_bodies)}
assert np.allclose(Q.inverse_dynamics(state, w)[6:], heavy.torque[400], atol=2e-5)
"""
    subprocess.run([sys.executable, "-c", program, os.environ["ORVEK23_WALK"]], check=True)


def test_quantities_are_the_replays(walk):
    """Per sample from Python: the bits of the signals that the same library computes in C++."""
    names = "com-velocity,momentum,root-wrench,zmp,capture-point,energy,gravity-torque".split(",")
    want = orvek23.evaluate(walk, names)
    robot = orvek23.Robot()
    state = Q.State(robot)
    dq, ddq = walk.rates()
    for k in range(0, len(walk), 40):
        robot.set(q=walk.q[k], root=(walk.rotation[k], walk.position[k]))
        robot.forward()
        state.update(dq[k], ddq[k])
        w = {b: walk.wrenches[k, 6 * i : 6 * i + 6] for i, b in enumerate(walk.wrench_bodies)}
        energy = Q.energy(state)
        got = [Q.com_velocity(state), Q.centroidal_momentum(state), np.concatenate(Q.root_wrench(state, w)),
               Q.zero_moment_point(state)[:2], Q.capture_point(state)[:2],
               [energy.kinetic, energy.potential, energy.total], Q.force_parts(state).gravity[6:]]  # fmt: skip
        for name, values in zip(names, got):
            assert np.array_equal(np.float32(values), want[name][k]), name


def test_quantities_fit_together(walk):
    """What one function gives is what another asks for: a wrong binding breaks a law."""
    robot = orvek23.Robot()
    state = Q.State(robot)
    dq, ddq = walk.rates()
    robot.set(q=walk.q[300], dq=dq[300, 6:], ddq=ddq[300, 6:], root=(walk.rotation[300], walk.position[300]),
              root_velocity=dq[300, :6], root_acceleration=ddq[300, :6])  # fmt: skip
    robot.forward()
    state.update()
    v, a = state.dq, state.ddq
    point = ("LElbowRoll", [0, -0.1, 0.02])
    for frame in (Q.Frame.body, Q.Frame.world, Q.Frame.world_at_point):
        J = Q.jacobian(state, point, frame)
        assert np.allclose(J @ v, Q.twist(state, point, frame))
        assert np.allclose(J @ a + Q.spatial_drift(state, point, frame), Q.spatial_acceleration(state, point, frame))
        assert np.allclose(J @ a + Q.classical_drift(state, point, frame), Q.classical_acceleration(state, point, frame))
    assert np.allclose(Q.position(state, point), (state.pose("LElbowRoll") @ [0, -0.1, 0.02, 1])[:3])
    assert np.allclose(Q.com_jacobian(state) @ a + Q.com_drift(state), Q.com_acceleration(state))
    assert np.allclose(Q.centroidal_momentum_matrix(state) @ v, Q.centroidal_momentum(state))
    tau = Q.inverse_dynamics(state)
    assert np.allclose(Q.regressor(state) @ Q.parameters(state), tau)
    assert np.allclose(Q.force_parts(state).total, tau)
    rotors = np.full(22, 1e-3)
    back = Q.forward_dynamics(state, tau[6:] + rotors * a[6:], {}, rotors, held=[])
    H = Q.mass_matrix(state) + np.diag(np.r_[np.zeros(6), rotors])
    assert np.allclose(H @ back.ddq + tau - Q.mass_matrix(state) @ a, np.r_[np.zeros(6), tau[6:] + rotors * a[6:]], atol=1e-9)
    for stance in (Q.stance(state, "LAnkleRoll"), Q.stance(state, 12, 18, Q.Sharing.least_ankle_torque)):
        assert np.allclose(Q.inverse_dynamics(state, stance.feet)[6:], stance.torques)
    corners = [(-0.045, y, z) for y in (-0.025, 0.025) for z in (-0.035, 0.075)]
    polygon = Q.SupportPolygon()
    polygon.add(state, Q.Sole(robot, "LAnkleRoll", corners))
    assert len(polygon) == len(polygon.corners) == 4 and polygon.margin(polygon.corners.mean(axis=0)) > 0.02
    derivatives = Q.TorqueDerivatives(robot)
    derivatives.compute()
    assert np.allclose(derivatives.by_acceleration(), Q.mass_matrix(state)[6:], atol=1e-5)
    ik = Q.InverseKinematics(robot)
    target = robot.pose("RAnkleRoll")[:3, 3] + [0.01, 0, 0.01]
    ik.reach("RAnkleRoll", target)
    found = ik.solve(moving=["RAnkleRoll"])
    assert found.reached and np.allclose(robot.pose("RAnkleRoll")[:3, 3], target, atol=2e-6)
