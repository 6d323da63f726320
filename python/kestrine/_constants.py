"""All values of all enumerations by their names, as constants.VL_CS_RHR."""

from enum import IntEnum

from . import enumerations


class _Constants:
    """Values of enumerations by name."""

    def __init__(self):
        for enum in vars(enumerations).values():
            if isinstance(enum, type) and enum is not IntEnum:
                self.__dict__.update(enum.__members__)

    def __getattr__(self, name: str) -> IntEnum:
        raise AttributeError(f"no enumeration has a value {name}")


constants = _Constants()
