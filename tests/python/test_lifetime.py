"""Objects that come and go, and whole programs."""

import multiprocessing
import subprocess
import sys
import textwrap
import threading

import pytest
from peer import Log, Peer, status_change

import kestrine


def run_program(text):
    """The program's output; it must end well."""
    done = subprocess.run([sys.executable, "-c", textwrap.dedent(text)], capture_output=True, text=True, timeout=120)
    assert done.returncode == 0, done.stderr
    return done


LOOP = """
    import ctypes, gc, sys, warnings
    import kestrine

    class Handler:
        def __init__(self): self.itself = self
        def OnStatusChangeEvent(self, change): pass

    def once(port):
        connection = kestrine.Dispatch("Kestrine.LTConnect2")
        connection.ConnectEmbeddedSystem("127.0.0.1", port)
        tracker = connection.ILTCommandSync
        listener = kestrine.WithEvents(tracker, Handler)
        tracker.Initialize()
        tracker.SetUnitsEx(tracker.GetUnitsEx())
        tracker.MeasureStationaryPointEx()
        for use in (lambda: tracker.SetUnits(1),
                    lambda: tracker.SetUnitsEx(kestrine.records.SystemUnitsDataT(angUnitType=None))):
            try: use()
            except (kestrine.com_error, TypeError): pass
        connection.GetData()
        kestrine.DispatchWithEvents(tracker, Handler).close()

    def allocated():
        gc.collect()
        system = ctypes.CDLL(None)
        if hasattr(system, "__sanitizer_get_current_allocated_bytes"):
            system.__sanitizer_get_current_allocated_bytes.restype = ctypes.c_size_t
            return system.__sanitizer_get_current_allocated_bytes()
        class Info(ctypes.Structure):
            _fields_ = [(name, ctypes.c_size_t) for name in "abcdefg"] + [("in_use", ctypes.c_size_t * 3)]
        system.mallinfo2.restype = Info
        return system.mallinfo2().in_use[0]

    warnings.simplefilter("ignore")
    with kestrine.Simulator(time_scale=0) as simulator:
        kestrine.Dispatch("Kestrine.LTConnect2").ConnectEmbeddedSystem("127.0.0.1", simulator.port)
        for _ in range(40): once(simulator.port)
        before = allocated()
        for _ in range(40): once(simulator.port)
        print((allocated() - before) / 40)
"""


def test_creating_and_destroying_leaves_nothing_behind():
    for _ in range(2):
        assert float(run_program(LOOP).stdout) < 200  # bytes a round; an object that stayed would be thousands


def test_a_program_that_just_ends_ends_well():
    done = run_program("""
        import kestrine
        simulator = kestrine.Simulator(time_scale=0)
        connection = kestrine.Dispatch("Kestrine.LTConnect2")
        connection.ConnectEmbeddedSystem("127.0.0.1", simulator.port)
        class Handler:
            def OnErrorEvent(self, *values): print(values)
        listener = kestrine.WithEvents(connection.ILTCommandSync, Handler)
        connection.ILTCommandSync.GetUnits()
    """)
    assert done.stderr == ""


def test_a_mixture_of_generations_is_reported():
    done = run_program("""
        import os, warnings
        os.environ["KESTRINE_BEHAVIOUR"] = "classic"
        import kestrine
        try: kestrine.Dispatch("Kestrine.LTConnect")
        except kestrine.com_error as error: print(error)
        with warnings.catch_warnings(record=True) as caught:
            warnings.simplefilter("always")
            commands = kestrine.Dispatch("Kestrine.LTCommandSync2")
        print(caught[0].category.__name__, caught[0].message, caught[0].filename)
    """)
    first, second = done.stdout.splitlines()
    assert "first generation" in first
    assert second == "NoticeWarning Fatal: Illegal combination of old/legacy and new interfaces <string>"


def test_a_reference_dropped_by_another_thread_is_released_at_home(connection):
    held = [kestrine.Dispatch("Kestrine.LTConnect2")]
    thread = threading.Thread(target=held.clear)
    thread.start()
    thread.join()
    kestrine.PumpWaitingMessages()
    assert held == [] and connection.IsConnected in (True, False)


def work(tracker, port, answers):
    with pytest.raises(kestrine.com_error) as caught:
        tracker.ReleaseMotors()
    kestrine.PumpEvents(0.05)
    own = kestrine.Dispatch("Kestrine.LTConnect2")
    own.ConnectEmbeddedSystem("127.0.0.1", port)
    own.ILTCommandSync.ReleaseMotors()
    answers.send(caught.value.hresult & 0xFFFFFFFF)


def test_a_forked_worker_has_connections_of_its_own_and_no_part_in_its_parents(tracker, peer, wait_for):
    listener = kestrine.WithEvents(tracker, Log)
    fork = multiprocessing.get_context("fork")
    answers, theirs = fork.Pipe(duplex=False)
    other = Peer()
    worker = fork.Process(target=work, args=(tracker, other.port, theirs))
    worker.start()
    peer.send(status_change(1))
    assert answers.poll(20) and answers.recv() == 0x8001010E
    worker.join(20)
    assert worker.exitcode == 0
    peer.send(status_change(2))
    wait_for(lambda: listener.heard == [1, 2])
    assert len(other.requests) == 1 and peer.requests == []
    other.close()
