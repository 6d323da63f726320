"""Continuous packets as arrays."""

import struct

import pytest
from peer import SCHEMA, filled

import kestrine

numpy = pytest.importorskip("numpy")
BLOCKS = {packet.value.value: packet.record for packet in SCHEMA.packets if packet.record.element}


def block(kind, dice, count):
    head, _ = filled(BLOCKS[kind], dice, kind, 0, count)
    elements = [filled(BLOCKS[kind].element, dice) for _ in range(count)]
    data = head[: BLOCKS[kind].header_size] + b"".join(element for element, _ in elements)
    return struct.pack("<i", len(data)) + data[4:], [values for _, values in elements]


@pytest.mark.parametrize("kind", [3, 5, 10])
@pytest.mark.parametrize("count", [0, 1, 7])
def test_all_fields_of_all_elements_are_there(dice, kind, count):
    data, values = block(kind, dice, count)
    points = kestrine.points(data)
    assert len(points) == count
    for name in (leaf.name for leaf in BLOCKS[kind].element.leaves):
        assert points[name].tolist() == [each[name] for each in values]


def test_nothing_is_copied(dice):
    data = bytearray(block(3, dice, 5)[0])
    points = kestrine.points(data)
    struct.pack_into("<d", data, BLOCKS[3].header_size + 12, 1.25)
    assert points["dVal1"][0] == 1.25
    assert not kestrine.points(bytes(data)).flags.writeable


def test_lying_and_foreign_packets_are_refused(dice):
    data = block(3, dice, 3)[0]
    for bad in (b"", data[:7], data[:40], data[:-1], data[:12] + struct.pack("<i", -1) + data[16:],
                data[:4] + struct.pack("<i", 2) + data[8:]):
        with pytest.raises(ValueError):
            kestrine.points(bad)
