"""What a value measures. A quantity can stand where a type is wanted: it says how the value travels as well."""

from typing import NamedTuple


class Quantity(NamedTuple):
    type: str
    unit: str  # as comments say it, where the name does not


QUANTITIES = {
    "length": Quantity("double", "length"),
    "squared length": Quantity("double", "squared length"),
    "angle": Quantity("double", "angle"),
    "squared angle": Quantity("double", "squared angle"),
    # Of a point, in the coordinate system set; three fields that follow one another.
    "position": Quantity("double", "coordinate"),
    # Of a coordinate, in its unit; and of two, in the product of their units.
    "deviation": Quantity("double", "deviation"),
    "covariance": Quantity("double", "covariance"),
    "temperature": Quantity("double", "temperature"),
    "pressure": Quantity("double", "pressure"),
    "humidity": Quantity("double", "humidity"),
    "count": Quantity("int32", ""),
    "hours": Quantity("int32", "h"),
    "minutes": Quantity("int32", "min"),
    "seconds": Quantity("int32", "s"),
    "milliseconds": Quantity("int32", "ms"),
    "microseconds": Quantity("int32", "µs"),
}


def wire_type(word: str) -> str:
    """The type of a cell that names a type or a quantity."""
    return QUANTITIES[word].type if word in QUANTITIES else word


def unit_of(quantity: str, name: str) -> str:
    """What a comment says of a value: nothing where its name says it."""
    unit = QUANTITIES[quantity].unit if quantity else ""
    return "" if unit in name.lower() else unit
