"""Reacts to events with asyncio while commands are under way.

    asyncio_events.py [ADDRESS PORT]      without an address a simulator is measured
"""

import asyncio
import contextlib
import sys

import kestrine
from kestrine import constants
from kestrine.aio import EventStream, Tracker, connect

BLOCKS = 5


async def show_status(events: EventStream) -> None:
    async for event in events:
        if event.name == "StatusChangeEvent":
            print(f"status: {event.values.statusChange!r}")


async def show_stream(events: EventStream) -> None:
    blocks = 0
    async for event in events:
        if event.name == "ContinuousPointMeasDataReady":
            blocks += 1
            print(f"block {blocks}: {event.values.resultsTotal} points")
            if blocks == BLOCKS:
                return


async def work(tracker: Tracker) -> None:
    await tracker.Initialize()
    reflectors = await tracker.GetReflectors()
    print("reflectors:", ", ".join(each.reflectorName for each in reflectors))
    await tracker.SetMeasurementMode(constants.VL_MM_ContinuousTime)
    await tracker.SetContinuousTimeModeParams(10, 0, False, constants.VL_RT_Sphere)
    events = tracker.events()
    await tracker.StartContinuousPointMeasurement()
    await show_stream(events)
    await tracker.StopContinuousMeasurement()


async def main(address: str, port: int) -> None:
    async with connect(address, port) as tracker:
        status = asyncio.create_task(show_status(tracker.events()))
        await work(tracker)
        status.cancel()


if __name__ == "__main__":
    with contextlib.ExitStack() as stack:
        if len(sys.argv) == 3:
            given = sys.argv[1], int(sys.argv[2])
        else:
            given = "127.0.0.1", stack.enter_context(kestrine.Simulator()).port
        try:
            asyncio.run(main(*given))
        except kestrine.com_error as error:
            sys.exit(f"asyncio_events: {error}")
