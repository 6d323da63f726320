"""The library inside asyncio."""

import asyncio

import pytest
from peer import COMMAND, SCHEMA, answer, code_of, filled, status_change

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
    peer.reply = lambda request: {6: units, 4: speed}.get(code_of(request)) or answer(code_of(request))

    async def work(tracker):
        return await asyncio.gather(tracker.getunits(), tracker.ReleaseMotors(), tracker.GetTemperatureRange())
    told, nothing, one = run(connection, work)
    assert told[0] == values["unitsSettings.lenUnitType"] and len(told) == 5
    assert nothing is None and isinstance(one, kestrine.VL_TrackerTemperatureRange)


@pytest.mark.parametrize("count", [1, 3])
def test_a_series_is_a_list(connection, peer, dice, count):
    items = [filled(SCHEMA.records.all["GetReflectorsRT"], dice, COMMAND, 42, 0, count) for _ in range(count)]
    peer.reply = lambda request: b"".join(packet for packet, _ in items)
    told = run(connection, lambda tracker: tracker.GetReflectors())
    assert [item[1] for item in told] == [values["cReflectorName"] for _, values in items]


def test_a_refusal_raises_in_the_call_it_belongs_to(connection, peer):
    peer.reply = lambda request: answer(code_of(request), 2 if code_of(request) == 54 else 0)

    async def work(tracker):
        return await asyncio.gather(tracker.GoBirdBath(), tracker.Park(), return_exceptions=True)
    failed, done = run(connection, work)
    assert isinstance(failed, kestrine.com_error) and failed.number == 2 and "Go Bird Bath" in str(failed)
    assert done is None


def test_the_end_of_the_connection_ends_all_calls(connection, peer):
    peer.reply = lambda request: peer.hang_up() or b""

    async def work(tracker):
        return await asyncio.gather(tracker.Park(), return_exceptions=True)
    (failed,) = run(connection, work)
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


def test_a_measurement_with_the_simulator():
    connection = kestrine.Dispatch("Kestrine.LTConnect2")

    async def work(tracker):
        await tracker.Initialize()
        await tracker.SetMeasurementMode(kestrine.constants.VL_MM_Stationary)
        x, *_ = await tracker.MeasureStationaryPoint()
        await tracker.SetMeasurementMode(kestrine.constants.VL_MM_ContinuousTime)
        await tracker.SetContinuousTimeModeParams(10, 50, False, 0)
        events = tracker.events()
        await tracker.StartContinuousPointMeasurement()
        count = 0
        async for event in events:
            if event.name == "ContinuousPointMeasDataReady":
                block = kestrine.points(tracker.GetData())
                count += len(block)
                if count == 50:
                    return x, block["dVal1"].mean()

    with kestrine.Simulator(time_scale=0) as simulator:
        connection.ConnectEmbeddedSystem("127.0.0.1", simulator.port)
        x, mean = run(connection, work)
        connection.DisconnectEmbeddedSystem()
    assert 0.1 < x < 1 and 1 < mean < 3
