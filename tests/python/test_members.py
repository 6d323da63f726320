"""Every member of the second generation, called by name."""

import struct

import pytest
from peer import COMMAND, SCHEMA, answer, code_of, encode, filled, random_value

import kestrine

IMAGE = bytes(range(40))
IMAGE_PACKET = struct.pack("<6i", 24 + 40, COMMAND, kestrine.constants.VL_C_GetStillImage, 0, 1, 40) + IMAGE


def inputs_of(method, dice):
    """Arguments, and the bytes by which the request carries them."""
    arguments, sent = [], b""
    for parameter in (each for each in method.parameters if not each.out):
        if parameter.is_record:
            record = SCHEMA.records.all[parameter.type]
            body, values = filled(record, dice)
            arguments.append(from_values(record, values))
        else:
            arguments.append(random_value(parameter.type, dice))
            body = encode(parameter.type, arguments[-1])
        sent += body
    return arguments, sent


def from_values(record, values, prefix=""):
    fields = {}
    for field in record.own_fields:
        nested = SCHEMA.records.all.get(field.type)
        path = prefix + field.name
        fields[field.name] = from_values(nested, values, path + ".") if nested else values[path]
    return getattr(kestrine.records, record.name)(**fields)


def reply_to(method, dice):
    """What the server answers, and what the call returns of it."""
    if any(parameter.type == "variant" for parameter in method.parameters):
        return IMAGE_PACKET, (40, IMAGE)
    if method.source == "none":
        return b"" if method.sends_only else answer(method.command.code), None
    record = method.command.answer
    reply, values = filled(record, dice, COMMAND, method.command.code, 0)
    outputs = []
    for parameter in (each for each in method.parameters if each.out):
        if parameter.is_record:
            field = next((each.name + "." for each in record.fields if each.type == parameter.type), "")
            outputs.append(from_values(SCHEMA.records.all[parameter.type], values, field))
        else:
            outputs.append(next(values[leaf.name] for leaf in record.leaves if leaf.offset == parameter.offset))
    return reply, outputs[0] if len(outputs) == 1 else tuple(outputs)


def call_in_other_case(target, method, arguments):
    """By place, or by name from the second half on: both must do."""
    half = len(arguments) // 2
    names = [parameter.name.upper() for parameter in method.parameters if not parameter.out]
    return getattr(target, method.name.lower())(*arguments[:half], **dict(zip(names[half:], arguments[half:])))


@pytest.mark.parametrize("method", [each for each in SCHEMA.sync_methods + SCHEMA.async_methods
                                    if each.command and each.source in ("none", "answer")],
                         ids=lambda method: f"{method.side} {method.name}")
@pytest.mark.classic
def test_a_call_sends_its_inputs_and_one_that_waits_returns_its_outputs(tracker, sender, peer, dice, wait_for,
                                                                        method):
    modes = kestrine.VL_MeasMode
    tracker.SetMeasurementMode(modes.VL_MM_ContinuousTime if method.mode.startswith("continuous")
                               else modes.VL_MM_Standard)
    if method.speed:
        tracker.StopMove()  # the drives begin at rest
    del peer.requests[:]
    arguments, sent = inputs_of(method, dice)
    reply, expected = reply_to(method, dice) if method.side == "sync" else (answer(method.command.code), None)
    peer.reply = lambda request: reply
    assert call_in_other_case(tracker if method.side == "sync" else sender, method, arguments) == expected
    wait_for(lambda: peer.requests)
    assert code_of(peer.requests[0]) == method.command.code
    if not method.speed:
        assert peer.requests[0][12:] == sent


@pytest.mark.classic
def test_objects_have_their_other_members(connection, peer, tracker, sender, tmp_path):
    constants = kestrine.constants
    for name in ("ExceptionHandlingPolicy", "ForceSingleConnection", "IsHostedByWebApplication",
                 "SupportLegacyStationaryMode"):
        setattr(connection, name.upper(), 0)
        with pytest.raises(AttributeError, match="only be set"):
            getattr(connection, name)
    assert connection.isconnected is True
    assert (connection.MajorVersion, connection.MinorVersion, connection.BuildNumber) == (3, 8, 680)
    assert connection.Version == 3 << 16 | 8
    assert connection.ILTCommandSync == tracker != sender
    for make in (bytes, bytearray, memoryview):
        assert connection.StillImageGetFile(make(IMAGE_PACKET)) == (40, IMAGE)
    connection.WriteDiskFile(b"data", str(tmp_path / "file"))
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
