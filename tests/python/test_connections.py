"""Several connections in one process: each has its own tracker, settings and values."""

import asyncio
from concurrent.futures import ThreadPoolExecutor
from contextlib import ExitStack

import pytest

import kestrine
from kestrine.aio import Tracker

NUMBERS = range(4)
CALLS = [("MeasureStationaryPoint",)] * 5 + [("GetEnvironmentParams",)]


def settings(number):
    units = kestrine.VL_LengthUnit(number), 0, 0, 0, 0
    return [("Initialize",), ("SetUnits", *units), ("SetEnvironmentParams", 20.0 + number, 1000.0, 40.0 + number)]


def connect(simulator):
    connection = kestrine.Dispatch("Kestrine.LTConnect2")
    connection.ConnectEmbeddedSystem("127.0.0.1", simulator.port)
    return connection


def calls(simulator, number):
    """What a tracker answers, one call after another."""
    connection = connect(simulator)
    values = [getattr(connection.ILTCommandSync, name)(*arguments) for name, *arguments in settings(number) + CALLS]
    return [value and value[:3] for value in values]


@pytest.fixture
def simulators():
    with ExitStack() as stack:
        yield [stack.enter_context(kestrine.Simulator(seed=number + 1, time_scale=0)) for number in NUMBERS]


@pytest.fixture
def alone():
    """The values of each when it is the only one."""
    values = []
    for number in NUMBERS:
        with kestrine.Simulator(seed=number + 1, time_scale=0) as simulator:
            values.append(calls(simulator, number))
    assert all(one != other for one in values for other in values if one is not other)
    return values


def test_trackers_on_several_threads_have_their_own_values(simulators, alone):
    with ThreadPoolExecutor(len(NUMBERS)) as threads:
        assert list(threads.map(calls, simulators, NUMBERS)) == alone


def test_trackers_in_asyncio_have_their_own_values(simulators, alone):
    async def work(number):
        values = []
        async with Tracker(connect(simulators[number])) as tracker:
            for name, *arguments in settings(number) + CALLS:
                value = await getattr(tracker, name)(*arguments)
                values.append(value and value[:3])
        return values

    async def main():
        return await asyncio.gather(*map(work, NUMBERS))
    assert asyncio.run(main()) == alone
