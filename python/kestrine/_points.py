"""The elements of continuous packets as arrays of numpy."""

import struct
from functools import cache
from typing import TYPE_CHECKING, Any

from ._tables import BLOCKS

if TYPE_CHECKING:
    import numpy

    from ._interfaces import Buffer

_HEADER = struct.Struct("<ii")


@cache
def _layout(kind: int):
    import numpy

    header, count, size, fields = BLOCKS[kind]
    names, formats, offsets = zip(*fields)
    return header, count, numpy.dtype({"names": names, "formats": formats, "offsets": offsets, "itemsize": size})


def points(packet: "Buffer") -> "numpy.ndarray[Any, Any]":
    """The elements of a continuous packet, such as GetData() gives, as a structured array over the packet's bytes.

    Nothing is copied, so the array is as writable as the packet. The fields are those of the element's record: status,
    lTime1, dVal1 and so on. ValueError for any other packet, and for one that ends before its last element.
    """
    import numpy

    view = memoryview(packet).cast("B")
    kind = _HEADER.unpack_from(view)[1] if len(view) >= _HEADER.size else None
    if kind not in BLOCKS:
        raise ValueError(f"not a continuous packet (type {kind})")
    header, count_at, dtype = _layout(kind)
    if len(view) < header:
        raise ValueError("the packet ends in its header")
    count = struct.unpack_from("<i", view, count_at)[0]
    if not 0 <= count <= (len(view) - header) // dtype.itemsize:
        raise ValueError(f"the packet promises {count} elements, but has {len(view)} bytes")
    return numpy.frombuffer(packet, dtype, count, header)
