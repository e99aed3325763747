"""What controllers derive from a robot's state, in float64: docs/quantities.md, same names.

Bodies by name or index; a point is a body (its origin) or (body, position in its frame, m);
wrenches are a mapping from bodies to six numbers, force then moment, in the body's frame, or 6 x 23.
Motions list the angular part first, coordinates and wrenches the linear part (the force).

    state = quantities.State(robot)        # once
    robot.forward(); state.update()        # each cycle
    quantities.com_velocity(state)
"""

from ._core import quantities as _core

__all__ = [name for name in dir(_core) if not name.startswith("_")]
globals().update({name: getattr(_core, name) for name in __all__})
