"""Events, their handlers, and what handlers may do."""

import contextlib
import gc
import sys
import weakref

import pytest
from peer import COMMAND, Log, answer, code_of, packet, status_change

import kestrine

READY = kestrine.constants.VL_SSC_MeasStatus_Ready


@pytest.mark.classic
def test_a_handler_hears_events_during_a_call_and_from_the_loop_until_it_is_closed_or_gone(tracker, peer, wait_for):
    closed, kept, dropped = (kestrine.WithEvents(tracker, Log) for _ in range(3))
    closed.close()
    closed.close()
    gone = weakref.ref(dropped)
    del dropped
    gc.collect()
    peer.reply = lambda request: status_change(READY) + answer(code_of(request))
    tracker.ReleaseMotors()
    wait_for(lambda: kept.heard == [READY])
    assert kept.heard[0] is kestrine.VL_SystemStatusChange(READY)
    peer.send(status_change(READY))
    wait_for(lambda: len(kept.heard) == 2)
    assert closed.heard == [] and gone() is None


def test_an_object_can_be_its_own_listener(tracker, peer, wait_for):
    class Both(Log):
        def OnStatusChangeEvent(self, statusChange):
            super().OnStatusChangeEvent(statusChange)
            self.units = self.GetUnits()

    both = kestrine.DispatchWithEvents(tracker, Both)
    peer.reply = lambda request: packet(36, COMMAND, code_of(request), 0)
    both.ReleaseMotors()
    peer.send(status_change(READY))
    wait_for(lambda: both.heard)
    assert both.units[0] == 0 and both == tracker
    both.close()


class Bad(Exception):
    pass


@pytest.mark.parametrize("raised", [Bad, KeyboardInterrupt, SystemExit])
@pytest.mark.classic
def test_what_a_handler_raises_breaks_nothing(tracker, peer, monkeypatch, wait_for, raised):
    class Raising(Log):
        def OnStatusChangeEvent(self, statusChange):
            super().OnStatusChangeEvent(statusChange)
            raise raised("from the handler")

    reported = []
    monkeypatch.setattr(sys, "unraisablehook", lambda args: reported.append(args.exc_type))
    raising, log = kestrine.WithEvents(tracker, Raising), kestrine.WithEvents(tracker, Log)
    peer.reply = lambda request: status_change(READY) + answer(code_of(request))
    with contextlib.nullcontext() if raised is Bad else pytest.raises(raised):
        tracker.ReleaseMotors()
        wait_for(lambda: log.heard)
        kestrine.PumpEvents(0.01)
    assert reported == [Bad] * (raised is Bad)
    raising.close()
    tracker.ReleaseMotors()
    wait_for(lambda: len(log.heard) == 2)


def test_a_handler_may_close_call_back_in_and_drop_everything(peer):
    held = {}

    class Dropping:
        def OnStatusChangeEvent(self, statusChange):
            with pytest.raises(kestrine.com_error):  # one is waiting
                held["tracker"].ReleaseMotors()
            held["listener"].close()
            held["connection"].DisconnectEmbeddedSystem()
            held.clear()

    held["connection"] = kestrine.Dispatch("Kestrine.LTConnect2")
    held["connection"].ConnectEmbeddedSystem("127.0.0.1", peer.port)
    held["tracker"] = held["connection"].ILTCommandSync
    held["listener"] = kestrine.WithEvents(held["tracker"], Dropping)
    peer.reply = lambda request: status_change(READY)
    with pytest.raises(kestrine.com_error):
        held["tracker"].ReleaseMotors()
    assert held == {}
