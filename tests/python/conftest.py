"""What the tests of the module share. ctest says where things are, in the environment."""

import os
import subprocess

import numpy as np
import pytest

import orvek23

WALK = os.environ["ORVEK23_WALK"]
SIGNALS = "com,pose,torque,jacobian,mass-matrix,partial-com:LElbowRoll,com-velocity,momentum,root-wrench,zmp,cop,margin,capture-point,energy,gravity-torque".split(
    ","
)


def pytest_collection_modifyitems(items):
    """The calibration's document leaves other inertias in the process: last."""
    items.sort(key=lambda item: "test_documents" in item.nodeid)


def replay(motion, results, signals, *more):
    """Bytes that orvek23-replay writes."""
    subprocess.run(
        [os.environ["ORVEK23_REPLAY"], motion, "-o", results, "--signals", ",".join(signals), *more],
        check=True,
        stdout=subprocess.DEVNULL,
    )
    return open(results, "rb").read()


@pytest.fixture(scope="session")
def walk():
    return orvek23.load(WALK)


@pytest.fixture(scope="session")
def turning():
    """3,000 uneven samples of a robot that turns head over heels: its quaternions go round."""
    random = np.random.default_rng(1)
    t = np.cumsum(random.uniform(0.004, 0.006, 3000))
    waves = np.sin(np.outer(t, random.uniform(0.3, 2, 28)) + random.uniform(0, 6, 28))
    q = waves * np.r_[np.full(3, 0.2), 3.1, 1.5, 3.1, np.full(22, 0.8)]
    dq = np.full((3000, 28), np.nan)
    dq[:, 9] = np.cos(t)
    wrench = np.column_stack((40 * waves[:, 0] + 20, waves[:, 1:6]))
    return orvek23.Motion(t, q, dq=dq, wrenches={"RAnkleRoll": wrench})


def as_csv(motion, path):
    """The motion as a file, in numbers that read back the same."""
    from scipy.spatial.transform import Rotation

    robot = orvek23.Robot()
    x, y, z, w = Rotation.from_matrix(motion.rotation).as_quat().T
    columns = {"time": motion.time, **dict(zip("xyz", motion.position.T)), "qw": w, "qx": x, "qy": y, "qz": z}  # fmt: skip
    columns.update(zip(robot.joints, motion.q.T))
    for prefix, table in (("d", motion.dq), ("dd", motion.ddq)):
        if table is not None:
            given = zip(robot.coordinates, table.T)
            columns.update((f"{prefix}.{name}", v) for name, v in given if not np.isnan(v).any())
    for k, body in enumerate(motion.wrench_bodies):
        parts = motion.wrenches[:, 6 * k : 6 * k + 6].T
        columns.update(zip((f"{body}.{part}" for part in "fx fy fz nx ny nz".split()), parts))
    with open(path, "w") as file:
        file.write(",".join(columns) + "\n")
        for row in zip(*columns.values()):
            file.write(",".join(map(repr, map(float, row))) + "\n")
    return path
