"""Waiting, Ctrl-C, threads, and the thread's message loop."""

import os
import select
import signal
import threading
import time

import pytest
from peer import Log, answer, code_of, status_change

import kestrine

READY = kestrine.constants.VL_SSC_MeasStatus_Ready


def test_ctrl_c_ends_a_waiting_call_and_the_object_stays_usable(early_wake, tracker, peer):
    peer.reply = lambda request: os.kill(os.getpid(), signal.SIGINT) or b""
    began = time.monotonic()
    with pytest.raises(KeyboardInterrupt):
        tracker.Initialize()  # a minute and a half without an answer
    assert time.monotonic() - began < 5
    peer.reply = lambda request: answer(code_of(request))
    assert tracker.ReleaseMotors() is None


def test_a_signal_handler_that_raises_nothing_does_not_end_the_call(early_wake, tracker, peer):
    seen = []
    before = signal.signal(signal.SIGINT, lambda *_: (seen.append(1), peer.send(answer(8))))
    try:
        peer.reply = lambda request: os.kill(os.getpid(), signal.SIGINT) or b""
        assert tracker.ReleaseMotors() is None and seen == [1]
    finally:
        signal.signal(signal.SIGINT, before)


@pytest.mark.parametrize("pump", [kestrine.PumpMessages, lambda: kestrine.PumpEvents(60)])
def test_ctrl_c_ends_the_loop(pump):
    timer = threading.Timer(0.1, os.kill, (os.getpid(), signal.SIGINT))
    with pytest.raises(KeyboardInterrupt):
        timer.start()
        pump()


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
