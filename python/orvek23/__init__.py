"""Kinematics and dynamics of one humanoid, computed by a plug-in in single precision.

    robot = orvek23.Robot()                       # one state: the plug-in's operations
    r = orvek23.evaluate(orvek23.load("walk.csv"), want=("com", "torque"))    # a whole log

SI units, radians, world z up; frames and orders: docs/conventions.md. First steps: docs/python.md.
"""

import os

from . import quantities
from ._core import InputError, Robot, __version__, default_plugin
from ._files import evaluate_files
from ._motion import Motion, load
from ._results import Result, evaluate

WALK = os.path.join(os.path.dirname(__file__), "walk.csv")
"""Path of the walk of eight seconds that comes along."""

__all__ = [
    "InputError",
    "Motion",
    "Result",
    "Robot",
    "WALK",
    "__version__",
    "default_plugin",
    "evaluate",
    "evaluate_files",
    "load",
    "quantities",
]
