"""The library inside asyncio."""

import asyncio
import struct

import pytest
from peer import COMMAND, ERROR, SCHEMA, TYPES, answer, code_of, filled, status_change

import kestrine
from kestrine.aio import Tracker

READY = kestrine.constants.VL_SSC_MeasStatus_Ready


def run(connection, work):
    async def main():
        async with asyncio.timeout(1000), Tracker(connection) as tracker:
            return await work(tracker)
    with asyncio.Runner(loop_factory=Skipping) as runner:
        return runner.run(main())


async def gathered(*calls):
    return await asyncio.gather(*calls, return_exceptions=True)


def result(dice, status=0):
    return filled(SCHEMA.records.all["SingleMeasResultT"], dice, TYPES["SingleMeasResultT"], status)


def units(kind):
    return struct.pack("<9i", 36, COMMAND, 6, 0, kind, 0, 0, 0, 0)


@pytest.fixture
def replies(peer):
    """What follows each request, one after another."""
    replies = []
    peer.reply = lambda request: replies.pop(0) if replies else answer(code_of(request))
    return replies


class Skipping(asyncio.SelectorEventLoop):
    """A loop whose time can be set forward."""

    skipped = 0

    def time(self):
        return super().time() + self.skipped

    async def skip(self, seconds):
        self.skipped += seconds
        for _ in range(3):
            await asyncio.sleep(0)


@pytest.mark.classic
def test_calls_end_with_what_their_events_bring(connection, peer, dice):
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
    assert told.lengthUnit == values["unitsSettings.lenUnitType"] and len(told) == 5
    assert nothing is None and isinstance(one, kestrine.VL_TrackerTemperatureRange)
    assert measured.val1 == in_point["dVal1"]


@pytest.mark.parametrize("count", [1, 3])
def test_a_series_is_a_list(connection, peer, dice, count):
    items = [filled(SCHEMA.records.all["GetReflectorsRT"], dice, COMMAND, 42, 0, count) for _ in range(count)]
    peer.reply = lambda request: b"".join(packet for packet, _ in items)
    told = run(connection, lambda tracker: tracker.GetReflectors())
    assert [each.reflectorName for each in told] == [values["cReflectorName"] for _, values in items]


def test_a_refusal_raises_in_its_call_and_the_end_of_the_connection_in_all(connection, peer):
    async def work(tracker):
        return await asyncio.gather(tracker.GoBirdBath(), tracker.Park(), return_exceptions=True)

    peer.reply = lambda request: answer(code_of(request), 2 if code_of(request) == 54 else 0)
    failed, done = run(connection, work)
    assert isinstance(failed, kestrine.com_error) and failed.number == 2 and "Go Bird Bath" in str(failed)
    assert done is None and (failed.command, failed.host) == (kestrine.constants.VL_C_GoBirdBath, "127.0.0.1")
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
    assert told[0] == ("StatusChangeEvent", (READY,)) and told[1].values.command == kestrine.constants.VL_C_Park


def test_a_result_goes_to_the_measurement_that_was_neither_refused_nor_bad_nor_stopped(connection, dice, replies):
    (good, values), (bad, _) = result(dice), result(dice, 2)

    async def work(tracker):
        measure = tracker.MeasureStationaryPoint
        replies[:] = answer(49), answer(49, 2) + good
        refused_second = await gathered(measure(), measure())
        replies[:] = answer(49), answer(8) + bad, answer(49) + good  # the first result, before the second start
        bad_first = await gathered(measure(), tracker.ReleaseMotors(), measure())
        replies[:] = answer(49), answer(52), answer(49) + good
        await gathered(tracker.with_timeout(0.05).MeasureStationaryPoint())
        await tracker.StopContinuousMeasurement()
        assert (await measure())[0] == values["dVal1"]
        replies[:] = answer(49), answer(49, 2, ERROR) + answer(49) + good
        return refused_second, bad_first, await gathered(measure(), measure())

    (first, second), (third, _, fourth), (fifth, sixth) = run(connection, work)
    for failed, done in ((second, first), (third, fourth), (fifth, sixth)):
        assert isinstance(failed, kestrine.com_error) and failed.number == 2
        assert done[0] == values["dVal1"]


def test_a_late_answer_goes_to_the_call_that_was_given_up(connection, replies):
    async def give_up(tracker):
        with pytest.raises(TimeoutError):
            await asyncio.wait_for(tracker.GetUnits(), 0.05)

    async def work(tracker):
        events = tracker.events()
        second = await tracker.GetUnits()
        assert [(await anext(events)).values[0] for _ in range(2)] == [1, 2]
        replies[:] = b"", units(3)
        with pytest.raises(kestrine.com_error):
            await tracker.with_timeout(0.05).getunits()
        await asyncio.get_running_loop().skip(21)  # it will not be answered any more
        return second, await tracker.GetUnits()
    replies[:] = b"", units(1) + units(2)
    run(connection, give_up)
    second, third = run(connection, work)
    assert (second[0], third[0]) == (2, 3)


def test_a_call_has_a_time_of_its_own(connection, replies):
    async def work(tracker):
        loop = asyncio.get_running_loop()
        await tracker.SetMeasurementMode(kestrine.constants.VL_MM_Stationary)
        await tracker.SetStationaryModeParams(useADM=False, TIME=5000)
        replies[:] = [b""] * 3
        calls = [asyncio.create_task(call()) for call in (tracker.ReleaseMotors, tracker.MeasureStationaryPoint,
                                                          tracker.with_timeout(20).ReleaseMotors)]
        await asyncio.sleep(0)
        ended = []
        for seconds in (9, 2, 3, 2, 5):
            await loop.skip(seconds)
            ended.append([call.done() for call in calls])
        return ended, await gathered(*calls)
    ended, failures = run(connection, work)
    assert ended == [[False] * 3, [True, False, False], [True, False, False], [True, True, False], [True] * 3]
    assert "[8]  Release Motors:  No answer, timed out!" in str(failures[0]) and failures[0].number == 36


def test_an_error_of_no_command_fails_the_oldest_call_and_a_series_can_be_refused(connection, replies, dice):
    refused, _ = filled(SCHEMA.records.all["GetReflectorsRT"], dice, COMMAND, 42, 2, 0)

    async def work(tracker):
        replies[:] = b"", answer(kestrine.constants.VL_C_Unknown, 2, ERROR) + answer(10), refused
        return await gathered(tracker.ReleaseMotors(), tracker.Park(), tracker.GetReflectors())
    failed, done, series = run(connection, work)
    assert isinstance(failed, kestrine.com_error) and failed.number == 2 and done is None
    assert isinstance(series, kestrine.com_error) and series.number == 2 and "GetReflectors" in str(series)


def test_a_program_that_disconnects_ends_its_calls(connection, replies):
    async def work(tracker):
        replies[:] = [b""]
        call = asyncio.create_task(tracker.ReleaseMotors())
        await asyncio.sleep(0)
        connection.DisconnectEmbeddedSystem()
        with pytest.raises(kestrine.com_error, match="closed"):
            await call
    run(connection, work)


def test_what_would_wait_for_ever_outside_is_refused_at_once(connection):
    async def work():
        async with Tracker(connection) as tracker:
            late = tracker.GetUnits()
            with pytest.raises(RuntimeError, match="already"):
                await Tracker(connection).__aenter__()
            with pytest.raises(ValueError, match="above 0"):
                tracker.with_timeout(0)
            assert "GetUnits" in dir(tracker) and "Returns" in tracker.GetUnits.__doc__
        for use in (tracker.GetUnits, tracker.events):
            with pytest.raises(RuntimeError, match="async with"):
                use()
        with pytest.raises(RuntimeError, match="async with"):
            await late
    asyncio.run(work())
