"""The picture of a motion, through matplotlib: the replay's panels, for notebooks."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, List, Optional

import numpy as np

from . import _core

if TYPE_CHECKING:
    import matplotlib.figure

    from ._results import Result

# Forearm, head and soles are no bodies' origins: points in the frames of the last ones (m).
_TIPS = {"HeadPitch": (0.055, 0, 0), "LElbowRoll": (0, -0.11, 0), "RElbowRoll": (0, -0.11, 0)}
_SOLE = np.array([(-0.045, y, z) for y, z in ((-0.025, -0.035), (0.025, -0.035), (0.025, 0.075), (-0.025, 0.075), (-0.025, -0.035))])  # fmt: skip
_FIGURES = 9
# The replay's colours (Okabe and Ito 2008): left blue, right vermillion.
_BLUE, _VERMILLION, _ORANGE, _GREEN = "#0072B2", "#D55E00", "#E69F00", "#009E73"
_SKY_BLUE, _PURPLE = "#56B4E9", "#CC79A7"


def draw(result: "Result", figure: Optional["matplotlib.figure.Figure"]) -> "matplotlib.figure.Figure":
    from ._results import evaluate

    if figure is None:
        import matplotlib.pyplot as plt

        figure = plt.figure(figsize=(9, 9), layout="constrained")
    robot = _core.Robot(result.plugin)
    poses = [f"pose:{body}" for body in robot.bodies]
    r = evaluate(result.motion, ("com", "zmp", "cop", "torque", *poses), plugin=result.plugin)
    frames = np.stack([r[name] for name in poses], axis=1).astype(float)  # N, 23, x y z qw qx qy qz
    side, above, torques = figure.subplots(3, 1, height_ratios=(1.5, 1, 1))
    _draw_side(side, robot, frames, r)
    _draw_above(above, robot, frames, r)
    _draw_torques(torques, robot, r)
    return figure


def _placed(frames: np.ndarray, body: int, points: np.ndarray) -> np.ndarray:
    """World places (N, k, 3) of k points of a body."""
    x, (w, *v) = frames[:, body, None, :3], np.moveaxis(frames[:, body, 3:], 1, 0)
    axis = np.stack(v, axis=1)[:, None]
    turned = 2 * np.cross(axis, points[None])
    return x + points + w[:, None, None] * turned + np.cross(axis, turned)


def _chains(robot: _core.Robot, frames: np.ndarray) -> List[np.ndarray]:
    """Polylines (N, k, 3): each limb from the root outwards."""
    parents = robot.get_parents_vector()
    chains = []
    for leaf in sorted(set(range(len(parents))) - set(parents)):
        name, body, path = robot.bodies[leaf], leaf, []
        while body >= 0:
            path.append(frames[:, body, :3])
            body = parents[body]
        tip = _placed(frames, leaf, np.array([_TIPS.get(name, (-0.045, 0, 0.05))]))
        chains.append(np.concatenate((tip, np.stack(path, axis=1)), axis=1))
    return chains


def _draw_side(axes: Any, robot: _core.Robot, frames: np.ndarray, r: "Result") -> None:
    samples = np.unique(np.linspace(0, len(r) - 1, _FIGURES).round().astype(int))
    chains = _chains(robot, frames[samples])
    root = frames[:, 0, :2]
    ahead = int(np.ptp(root[:, 1]) > np.ptp(root[:, 0]))
    # One that stays about is drawn side by side.
    apart = 0.0 if np.ptp(root[:, ahead]) >= 0.2 else 0.3
    labelled: Optional[float] = None
    for k, sample in enumerate(samples):
        shade = str(0.75 - 0.75 * k / max(1, len(samples) - 1))
        for chain in chains:
            axes.plot(chain[k, :, ahead] + apart * k, chain[k, :, 2], color=shade, lw=1.5)
        head = chains[0][k, 0] + [apart * k, apart * k, 0.02]
        if labelled is None or abs(head[ahead] - labelled) > 0.05:
            labelled = head[ahead]
            axes.annotate(f"{r.time[sample]:.1f} s", head[[ahead, 2]], ha="center", fontsize=7)
    if not apart:
        axes.plot(r.com[:, ahead], r.com[:, 2], color=_GREEN, lw=1.2, label="centre of mass")
        axes.legend(loc="lower right", fontsize=7)
    axes.axhline(0, color="0.6", lw=0.8)
    axes.margins(y=0.12)
    axes.set(title=f"From the side: {'xy'[ahead]} and z", xlabel=f"{'xy'[ahead]}, m", ylabel="z, m")
    axes.set_aspect("equal", adjustable="datalim")


def _draw_above(axes: Any, robot: _core.Robot, frames: np.ndarray, r: "Result") -> None:
    for foot, colour in (("LAnkleRoll", _BLUE), ("RAnkleRoll", _VERMILLION)):
        sole = _placed(frames, robot.get_body_id(foot), _SOLE)
        stands = np.abs(sole[:, :, 2]).max(axis=1) < 0.003
        begins = np.flatnonzero(stands & ~np.r_[False, stands[:-1]])
        for k in begins:
            axes.plot(sole[k, :, 0], sole[k, :, 1], color=colour, lw=1)
    axes.plot(r.com[:, 0], r.com[:, 1], color=_GREEN, lw=1.2, label="centre of mass")
    axes.plot(r.cop[:, 0], r.cop[:, 1], color="0.75", lw=3, label="centre of pressure")
    axes.plot(r.zmp[:, 0], r.zmp[:, 1], color="black", lw=1, label="zero-moment point")
    axes.set(title="From above", xlabel="x, m", ylabel="y, m")
    axes.set_aspect("equal", adjustable="datalim")
    axes.legend(loc="upper right", fontsize=7)


def _draw_torques(axes: Any, robot: _core.Robot, r: "Result") -> None:
    largest = np.argsort(-np.abs(r.torque).max(axis=0))[:6]
    colours = ("black", _ORANGE, _SKY_BLUE, _GREEN, _VERMILLION, _PURPLE)
    for joint, colour in zip(largest, colours):
        name = robot.joints[joint]
        style = "--" if name[0] == "R" else "-"
        axes.plot(r.time, r.torque[:, joint], color=colour, lw=1, ls=style, label=name)
    axes.set(title="The six largest torques", xlabel="time, s", ylabel="N m")
    axes.legend(loc="upper right", ncols=3, fontsize=7)
