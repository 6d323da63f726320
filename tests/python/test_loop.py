"""Waiting, Ctrl-C, threads, and the thread's message loop."""

import asyncio
import os
import select
import signal
import socket
import threading
import time

import pytest
from peer import Log, answer, code_of, status_change

import kestrine
from kestrine.aio import Tracker

READY = kestrine.constants.VL_SSC_MeasStatus_Ready


@pytest.mark.classic
def test_ctrl_c_ends_a_waiting_call_and_the_object_stays_usable(tracker, peer):
    peer.reply = lambda request: os.kill(os.getpid(), signal.SIGINT) or b""
    began = time.monotonic()
    with pytest.raises(KeyboardInterrupt):
        tracker.Initialize()  # a minute and a half without an answer
    assert time.monotonic() - began < 5
    peer.reply = lambda request: answer(code_of(request))
    assert tracker.ReleaseMotors() is None


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


def connect_to_nobody(_connection):
    """A listener with no room takes no connection and refuses none."""
    with socket.create_server(("127.0.0.1", 0), backlog=0) as full:
        callers = [socket.socket() for _ in range(3)]
        for caller in callers:
            caller.setblocking(False)
            caller.connect_ex(full.getsockname())
        kestrine.Dispatch("Kestrine.LTConnect2").ConnectEmbeddedSystem(*full.getsockname())


@pytest.mark.parametrize("wait", [
    lambda _: kestrine.PumpMessages(), lambda _: kestrine.PumpEvents(60), connect_to_nobody,
    in_asyncio(lambda _, tracker: tracker.ReleaseMotors()), in_asyncio(call_that_waits),
])
def test_ctrl_c_ends_every_wait_at_once(connection, peer, wait):
    peer.reply = lambda request: b""
    timer = threading.Timer(0.1, os.kill, (os.getpid(), signal.SIGINT))
    began = time.monotonic()
    with pytest.raises(KeyboardInterrupt):
        timer.start()
        wait(connection)
    assert time.monotonic() - began < 1


def test_the_loop_ends_when_a_quit_is_posted(tracker, peer, wait_for):
    class Quitting(Log):
        def OnStatusChangeEvent(self, change):
            super().OnStatusChangeEvent(change)
            kestrine.PostQuitMessage()

    listener = kestrine.WithEvents(tracker, Quitting)
    tracker.ReleaseMotors()
    peer.send(status_change(READY))
    kestrine.PumpMessages()
    assert listener.heard == [READY]
    peer.send(status_change(READY))
    assert kestrine.PumpEvents(60) is False and len(listener.heard) == 2
    assert kestrine.PumpEvents(0) is True and kestrine.PumpEvents(0.01) is True


def test_the_loop_fits_into_another_one(tracker, peer):
    listener = kestrine.WithEvents(tracker, Log)
    tracker.ReleaseMotors()
    peer.send(status_change(READY))
    assert select.select([kestrine.fileno()], [], [], 5)[0]
    while not listener.heard:
        kestrine.PumpWaitingMessages()
    assert kestrine.PumpWaitingMessages() == 0
