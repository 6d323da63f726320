"""The library inside asyncio."""

import asyncio

import pytest
from peer import COMMAND, SCHEMA, TYPES, answer, code_of, filled, status_change

import kestrine
from kestrine.aio import Tracker

READY = kestrine.constants.VL_SSC_MeasStatus_Ready


def run(connection, work):
    async def main():
        async with asyncio.timeout(10), Tracker(connection) as tracker:
            return await work(tracker)
    return asyncio.run(main())


def test_calls_end_with_what_their_events_bring(early_wake, connection, peer, dice):
    units, values = filled(SCHEMA.records.all["GetUnitsRT"], dice, COMMAND, 6, 0)
    speed, _ = filled(SCHEMA.records.all["GetTemperatureRangeRT"], dice, COMMAND, 4, 0)
    point, in_point = filled(SCHEMA.records.all["SingleMeasResultT"], dice, TYPES["SingleMeasResultT"], 0)
    replies = {6: units, 4: speed, 49: answer(49) + point}
    peer.reply = lambda request: replies.get(code_of(request)) or answer(code_of(request))

    async def work(tracker):
        await tracker.SetMeasurementMode(kestrine.constants.VL_MM_Stationary)
        return await asyncio.gather(tracker.getunits(), tracker.ReleaseMotors(), tracker.GetTemperatureRange(),
                                    tracker.MeasureStationaryPoint())
    told, nothing, one, measured = run(connection, work)
    assert told[0] == values["unitsSettings.lenUnitType"] and len(told) == 5
    assert nothing is None and isinstance(one, kestrine.VL_TrackerTemperatureRange)
    assert measured[0] == in_point["dVal1"]


@pytest.mark.parametrize("count", [1, 3])
@pytest.mark.parametrize(("command", "name", "field", "place"), [(42, "GetReflectors", "cReflectorName", 1),
                                                                (75, "GetTransformedPoints", "dVal1", 0)])
def test_a_series_is_a_list(connection, peer, dice, count, command, name, field, place):
    items = [filled(SCHEMA.records.all[f"{name}RT"], dice, COMMAND, command, 0, count) for _ in range(count)]
    peer.reply = lambda request: b"".join(packet for packet, _ in items)
    told = run(connection, lambda tracker: getattr(tracker, name)())
    assert [item[place] for item in told] == [values[field] for _, values in items]


def test_a_refusal_raises_in_its_call_and_the_end_of_the_connection_in_all(connection, peer):
    async def work(tracker):
        return await asyncio.gather(tracker.GoBirdBath(), tracker.Park(), return_exceptions=True)

    peer.reply = lambda request: answer(code_of(request), 2 if code_of(request) == 54 else 0)
    failed, done = run(connection, work)
    assert isinstance(failed, kestrine.com_error) and failed.number == 2 and "Go Bird Bath" in str(failed)
    assert done is None
    peer.reply = lambda request: b"" if code_of(request) == 54 else peer.hang_up() or b""
    for failed in run(connection, work):
        assert isinstance(failed, kestrine.com_error) and "closed" in str(failed)


def test_events_are_a_stream_that_ends_with_the_tracker(connection, peer):
    peer.reply = lambda request: status_change(READY) + answer(code_of(request))

    async def main():
        async with asyncio.timeout(10):
            async with Tracker(connection) as tracker:
                events = tracker.events()
                await tracker.Park()
            return [event async for event in events]
    told = asyncio.run(main())
    assert told[0] == ("StatusChangeEvent", (READY,)) and told[1].name == "CommandCompletedData"
