"""Waiting, Ctrl-C, threads, and the thread's message loop."""

import asyncio
import os
import signal
import threading
import time

import pytest
from peer import answer, code_of, status_change

import kestrine
from kestrine.aio import Tracker

READY = kestrine.constants.VL_SSC_MeasStatus_Ready


@pytest.mark.classic
def test_a_signal_handler_that_raises_nothing_does_not_end_the_call(tracker, peer):
    seen = []
    before = signal.signal(signal.SIGINT, lambda *_: (seen.append(1), peer.send(answer(8))))
    try:
        peer.reply = lambda request: os.kill(os.getpid(), signal.SIGINT) or b""
        assert tracker.ReleaseMotors() is None and seen == [1]
    finally:
        signal.signal(signal.SIGINT, before)


def in_asyncio(use):
    async def main(connection):
        async with Tracker(connection) as tracker:
            await use(connection, tracker)
    return lambda connection: asyncio.run(main(connection))


async def call_that_waits(connection, _tracker):
    connection.ILTCommandSync.Initialize()


@pytest.mark.parametrize("wait", [
    pytest.param(lambda connection: connection.ILTCommandSync.Initialize(), marks=pytest.mark.classic),
    lambda _: kestrine.PumpMessages(), lambda _: kestrine.PumpEvents(60),
    in_asyncio(lambda _, tracker: tracker.ReleaseMotors()), in_asyncio(call_that_waits),
])
def test_ctrl_c_ends_every_wait_at_once_and_objects_stay_usable(connection, peer, wait):
    peer.reply = lambda request: b""
    timer = threading.Timer(0.1, os.kill, (os.getpid(), signal.SIGINT))
    began = time.monotonic()
    with pytest.raises(KeyboardInterrupt):
        timer.start()
        wait(connection)
    assert time.monotonic() - began < 1
    peer.reply = lambda request: answer(code_of(request))
    assert connection.ILTCommandSync.Park() is None


def test_the_loop_ends_when_a_quit_is_posted(tracker, peer, wait_for):
    class Quitting:
        heard = []

        def onSTATUSchangeEvent(self, change):  # any case of letters will do
            self.heard.append(change)
            kestrine.PostQuitMessage()

    listener = kestrine.WithEvents(tracker, Quitting)
    tracker.ReleaseMotors()
    peer.send(status_change(READY))
    kestrine.PumpMessages()
    assert listener.heard == [READY]
    peer.send(status_change(READY))
    assert kestrine.PumpEvents(60) is False and len(listener.heard) == 2
    assert kestrine.PumpEvents(0) is True and kestrine.PumpWaitingMessages() == 0
