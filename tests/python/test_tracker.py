"""kestrine.Tracker: values in and out by their names, lists, events, failures that say what and where."""

import pytest
from peer import COMMAND, ERROR, SCHEMA, answer, code_of, filled, status_change
from test_members import inputs_of, reply_to
from test_points import block

import kestrine

CONSTANTS = kestrine.constants
CLOSING = status_change(CONSTANTS.VL_SSC_ServerClosing)
SERIES = {each.command.method_name: each for each in SCHEMA.answers if each.command.series}
CALLS = [each for each in SCHEMA.sync_methods
         if each.command and each.name not in SERIES and each.source in ("none", "answer")]


@pytest.fixture
def tracker(peer):
    with kestrine.Tracker("127.0.0.1", peer.port) as tracker:
        yield tracker


def test_operations_send_their_inputs_and_return_their_outputs_by_their_names(tracker, peer, dice):
    for method in CALLS:
        peer.reply = lambda request: answer(code_of(request))
        tracker.SetMeasurementMode(CONSTANTS.VL_MM_ContinuousTime if method.mode.startswith("continuous")
                                   else CONSTANTS.VL_MM_Standard)
        (arguments, sent), (reply, expected) = inputs_of(method, dice), reply_to(method, dice)
        peer.reply = lambda request: reply
        told = getattr(tracker, method.name)(**dict(zip((each.name for each in method.parameters), arguments)))
        outputs = [each.name for each in method.parameters if each.out]
        assert told == expected and (len(outputs) < 2 or list(told._fields) == outputs), method.name
        assert method.speed or peer.requests[-1][12:] == sent


@pytest.mark.parametrize("name", SERIES)
def test_a_series_is_a_list_and_is_refused_as_one(tracker, peer, dice, name):
    command = SERIES[name].command
    arguments, _ = inputs_of(next(each for each in SCHEMA.sync_methods if each.name == name), dice)
    items = [filled(command.answer, dice, COMMAND, command.code, 0, 3) for _ in range(3)]
    refused, _ = filled(command.answer, dice, COMMAND, command.code, 2, 0)
    peer.reply = lambda request: b"".join(data for data, _ in items)
    for told, (_, item) in zip(getattr(tracker, name)(*arguments), items, strict=True):
        assert told._asdict() == {each.name: item[each.leaf.name] for each in SERIES[name].sync_event.values}
    for status, reply in ((2, refused), (2, answer(command.code, 2, ERROR)), (None, CLOSING)):
        peer.reply = lambda request: reply
        with pytest.raises(kestrine.com_error) as told:
            getattr(tracker, name)(*arguments)
        assert (told.value.command, told.value.host, told.value.status) == (command.code, "127.0.0.1", status)


def test_events_come_by_name_until_they_are_closed_and_points_as_arrays(tracker, peer, dice, wait_for):
    heard, blocks = [], []
    with tracker.on("StatusChangeEvent", heard.append) as events, tracker.on_points(blocks.append):
        tracker.on_status(lambda change: tracker.close())  # kept without a name
        peer.reply = lambda request: b"".join(block(kind, dice, 4)[0] for kind in (3, 5, 10)) + answer(10)
        tracker.Park()
        wait_for(lambda: len(blocks) == 3)
        peer.send(status_change(25))
        wait_for(lambda: not tracker.is_connected)
    assert heard[0].statusChange == 25 and len(blocks[2]) == 4 and repr(events).endswith("closed>")
    with pytest.raises(kestrine.com_error, match="closed") as caught:
        tracker.GetUnits()
    assert caught.value.command is CONSTANTS.VL_C_GetUnits and repr(tracker).endswith(f":{peer.port} not connected>")


def test_a_misspelt_name_is_an_error(tracker):
    with pytest.raises(ValueError, match="StatusChangeEvent"):
        tracker.on("StatusChangedEvent", print)
    pytest.raises(AttributeError, setattr, tracker, "UseIncreasedTimeout", True)
    with pytest.raises(TypeError, match="OnStatusChangeEvent"):
        kestrine.WithEvents(tracker.connection.ILTCommandSync, type("Handler", (), {"OnStatusChangedEvent": print}))
