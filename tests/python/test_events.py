"""Events, their handlers, and what handlers may do."""

import contextlib
import gc
import sys
import weakref

import pytest
from peer import COMMAND, SCHEMA, Log, answer, code_of, filled, packet, status_change

import kestrine

READY = kestrine.constants.VL_SSC_MeasStatus_Ready


def recorder(events):
    """A handler of all events that keeps what it hears."""
    def hear(name):
        return lambda self, *values: self.heard.append((name, values))

    return type("Recorder", (), {"__init__": lambda self: setattr(self, "heard", []),
                                 **{"on" + name.upper(): hear(name) for name in events}})


# The events that an answer brings, and its command.
ANSWERED = [(event, each.command) for each in SCHEMA.answers
            for event in (each.async_event, each.second_event) if event]


@pytest.mark.parametrize("event, command", ANSWERED, ids=lambda each: each.name)
def test_an_event_brings_the_values_of_its_packet(sender, peer, dice, wait_for, event, command):
    listener = kestrine.WithEvents(sender, recorder(SCHEMA.async_events))
    data, values = filled(command.answer, dice, COMMAND, command.code, 0)
    peer.reply = lambda request: data
    sender.ReleaseMotors()
    wait_for(lambda: listener.heard)
    expected = tuple(values[value.leaf.name] for value in event.values)
    assert (event.name, expected) in listener.heard


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


@pytest.mark.parametrize("in_a_call", [False, True])
def test_a_handler_may_close_call_back_in_and_drop_everything(peer, wait_for, in_a_call):
    held = {}

    class Dropping(Log):
        def OnStatusChangeEvent(self, statusChange):
            done.append(statusChange)
            if len(done) == 1:
                with pytest.raises(kestrine.com_error) if in_a_call else contextlib.nullcontext():  # one is waiting
                    held["tracker"].ReleaseMotors()
                held["listener"].close()
                held["connection"].DisconnectEmbeddedSystem()
                held.clear()

    done = []
    held["connection"] = kestrine.Dispatch("Kestrine.LTConnect2")
    held["connection"].ConnectEmbeddedSystem("127.0.0.1", peer.port)
    held["tracker"] = held["connection"].ILTCommandSync
    held["listener"] = kestrine.WithEvents(held["tracker"], Dropping)
    held["tracker"].ReleaseMotors()
    if in_a_call:
        peer.reply = lambda request: status_change(READY)
        with pytest.raises(kestrine.com_error):
            held["tracker"].ReleaseMotors()
    else:
        peer.send(status_change(READY))
    wait_for(lambda: done)
    assert done == [READY] and held == {}
