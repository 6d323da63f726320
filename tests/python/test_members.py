"""Every member of the second generation, called by name."""

import struct

import pytest
from peer import COMMAND, SCHEMA, TYPES, answer, code_of, encode, filled, random_value

import kestrine


def inputs_of(method, dice):
    """Arguments, and the bytes by which the request carries them."""
    arguments, sent = [], b""
    for parameter in (each for each in method.parameters if not each.out):
        if parameter.is_record:
            record = SCHEMA.records.all[parameter.type]
            value, body = record_of(record, dice)
            sent += body
        else:
            value = random_value(parameter.type, dice)
            sent += encode(parameter.type, value)
        arguments.append(value)
    return arguments, sent


def record_of(record, dice):
    values = {leaf.name: random_value(leaf.type, dice) for leaf in record.leaves}
    body = b"".join(encode(leaf.type, values[leaf.name]) for leaf in record.leaves)
    return from_values(record, values), body


def from_values(record, values, prefix=""):
    fields = {}
    for field in record.own_fields:
        nested = SCHEMA.records.all.get(field.type)
        path = prefix + field.name
        fields[field.name] = from_values(nested, values, path + ".") if nested else values[path]
    return getattr(kestrine.records, record.name)(**fields)


def source_record(method):
    """The record of the packet that the outputs are read from."""
    if method.source == "answer":
        return method.command.answer
    wanted = next((each.type for each in method.parameters if each.out and each.is_record), None)
    known = {"tiltra": "TiltraResultT", "stationary-point": "SingleMeasResultT", "stationary-probe":
             "ProbeStationaryResultT", "go-and-measure": "SingleMeasResultT"}
    name = wanted or known[method.family]
    if wanted is None and "2" in method.name and method.family != "tiltra":
        name = "SingleMeasResult2T"
    return SCHEMA.records.all[name]


def expected_outputs(method, packet, values):
    outputs = []
    for parameter in (each for each in method.parameters if each.out):
        record = SCHEMA.records.all.get(parameter.type)
        if record is not None:
            field = next((each for each in source_record(method).fields if each.type == parameter.type), None)
            whole = record is source_record(method)
            outputs.append(from_values(record, values, "" if whole else field.name + "."))
        else:
            leaf = next(leaf for leaf in source_record(method).leaves if leaf.offset == parameter.offset)
            outputs.append(values[leaf.name])
    return None if not outputs else outputs[0] if len(outputs) == 1 else tuple(outputs)


def make_ready(tracker, method):
    """The mode that lets the method pass, and drives at rest."""
    tracker.SetMeasurementMode(kestrine.VL_MeasMode.VL_MM_ContinuousTime if method.family.startswith("continuous")
                               else kestrine.VL_MeasMode.VL_MM_Standard)
    if method.family == "move":
        tracker.StopMove()


@pytest.mark.parametrize("method", SCHEMA.sync_methods, ids=lambda method: method.name)
def test_a_call_that_waits_sends_its_inputs_and_returns_its_outputs(early_wake, tracker, peer, dice, wait_for, method):
    if method.family == "property":
        tracker.UseIncreasedTimeouts = True
        assert tracker._hresult_ == 0
        return
    make_ready(tracker, method)
    del peer.requests[:]
    arguments, sent = inputs_of(method, dice)
    expected = None
    reply = b"" if method.family == "send-only" else answer(method.command.code)
    if method.family == "still-image":
        reply = struct.pack("<6i", 24 + 40, COMMAND, method.command.code, 0, 1, 40) + bytes(range(40))
        expected = (40, bytes(range(40)))
    elif method.source != "none":
        record = source_record(method)
        head = (COMMAND, method.command.code, 0) if method.source == "answer" else (TYPES[record.name], 0)
        reply, values = filled(record, dice, *head)
        expected = expected_outputs(method, reply, values)
    peer.reply = lambda request: reply
    assert call_in_other_case(tracker, method, arguments) == expected
    wait_for(lambda: peer.requests)
    assert code_of(peer.requests[0]) == method.command.code
    if method.family not in ("move", "still-image"):
        assert peer.requests[0][12:] == sent


def call_in_other_case(target, method, arguments):
    """By place, or by name from the second half on: both must do."""
    half = len(arguments) // 2
    names = [parameter.name.upper() for parameter in method.parameters if not parameter.out]
    return getattr(target, method.name.lower())(*arguments[:half], **dict(zip(names[half:], arguments[half:])))


@pytest.mark.parametrize("method", SCHEMA.async_methods, ids=lambda method: method.name)
def test_a_call_that_does_not_wait_sends_its_inputs(early_wake, tracker, sender, peer, dice, wait_for, method):
    make_ready(tracker, method)
    del peer.requests[:]
    arguments, sent = inputs_of(method, dice)
    assert call_in_other_case(sender, method, arguments) is None
    wait_for(lambda: peer.requests)
    assert code_of(peer.requests[0]) == method.command.code
    if method.family != "move":
        assert peer.requests[0][12:] == sent


READERS = {"ContinuousDataGetHeaderInfo": 3, "ContinuousPointGetAt": 3, "ContinuousProbeDataGetAt": 5,
           "ContinuousPoint2GetAt": 10, "ContinuousProbeDataGetHeaderInfo": 5}


@pytest.mark.parametrize("name", READERS)
def test_an_accessor_reads_a_packet_from_any_buffer(early_wake, connection, dice, name):
    record = next(packet.record for packet in SCHEMA.packets if packet.value.value == READERS[name])
    head, in_head = filled(record, dice, READERS[name], 0, 1)
    element, in_element = filled(record.element, dice)
    packet = head[: record.header_size] + element
    member = next(member for member in SCHEMA.connect_members if member.name == name)
    of_element = name.endswith("At")
    leaves = {leaf.offset: leaf.name for leaf in (record.element if of_element else record).leaves}
    expected = tuple((in_element if of_element else in_head)[leaves[parameter.offset]]
                     for parameter in member.parameters if parameter.out)
    for buffer in (packet, bytearray(packet), memoryview(packet)):
        assert getattr(connection, name)(buffer, *([0] if of_element else [])) == expected


def test_the_connection_has_its_other_members(early_wake, connection, peer, tracker, sender, tmp_path):
    constants = kestrine.constants
    for name in ("ExceptionHandlingPolicy", "ForceSingleConnection", "IsHostedByWebApplication",
                 "SupportLegacyStationaryMode"):
        setattr(connection, name.upper(), False)
        with pytest.raises(AttributeError, match="only be set"):
            getattr(connection, name)
    assert connection.isconnected is True
    assert (connection.MajorVersion, connection.MinorVersion, connection.BuildNumber) == (3, 8, 680)
    assert connection.Version == 3 << 16 | 8
    assert connection.ILTCommandSync == tracker and connection.ILTCommandAsync == sender != tracker
    image = struct.pack("<6i", 24 + 40, COMMAND, constants.VL_C_GetStillImage, 0, 1, 40) + bytes(range(40))
    assert connection.StillImageGetFile(image) == (40, bytes(range(40)))
    connection.WriteDiskFile(memoryview(b"data"), str(tmp_path / "file"))
    assert (tmp_path / "file").read_bytes() == b"data"
    assert connection.GetConstant(constants.KR_C_LengthFactorMillimeter) == 1000.0
    connection.SelectNotificationMethod(constants.KR_NM_Event, 0, 0)
    tracker.ReleaseMotors()
    assert connection.GetData() == answer(constants.VL_C_ReleaseMotors)
    assert connection.LastResultStatus is constants.VL_RS_AllOK
    connection.DisconnectEmbeddedSystem()
    assert connection.IsConnected is False


def test_enumerations_come_back_as_such_and_unknown_values_as_they_are(tracker, peer):
    peer.reply = lambda request: struct.pack("<9i", 36, 0, 6, 0, 1, 2, 77, 0, 0)
    length, angle, temperature, *_ = tracker.GetUnits()
    assert length is kestrine.VL_LengthUnit(1) and angle is kestrine.VL_AngleUnit(2)
    assert temperature == 77 and type(temperature) is int
    assert kestrine.constants.VL_LU_Meter is kestrine.VL_LengthUnit.VL_LU_Meter
