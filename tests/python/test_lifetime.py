"""Objects that come and go, and whole programs."""

import subprocess
import sys
import textwrap


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
        try: tracker.SetUnitsEx(kestrine.records.SystemUnitsDataT(angUnitType=None))
        except TypeError: pass
        connection.GetData()
        kestrine.DispatchWithEvents(tracker, Handler).close()

    def allocated():
        gc.collect()
        class Info(ctypes.Structure):
            _fields_ = [(name, ctypes.c_size_t) for name in "abcdefg"] + [("in_use", ctypes.c_size_t * 3)]
        system = ctypes.CDLL(None)
        system.mallinfo2.restype = Info
        return system.mallinfo2().in_use[0]

    warnings.simplefilter("ignore")
    simulator = kestrine.Simulator(time_scale=0)
    connection = kestrine.Dispatch("Kestrine.LTConnect2")
    connection.ConnectEmbeddedSystem("127.0.0.1", simulator.port)
    listener = kestrine.WithEvents(connection.ILTCommandSync, Handler)
    for _ in range(40): once(simulator.port)
    before = allocated()
    for _ in range(40): once(simulator.port)
    print((allocated() - before) / 40)
"""


def test_creating_and_destroying_leaves_nothing_behind_and_a_program_may_just_end():
    done = run_program(LOOP)
    assert float(done.stdout) < 200  # bytes a round; an object that stayed would be thousands
    assert done.stderr == ""


def test_a_mixture_of_generations_is_reported():
    done = run_program("""
        import contextlib
        import kestrine
        kestrine.set_behaviour("classic")
        with contextlib.suppress(kestrine.com_error):
            kestrine.Dispatch("Kestrine.LTConnect")
        kestrine.Dispatch("Kestrine.LTCommandSync2")
    """)
    assert "<string>:7: NoticeWarning: Fatal: Illegal combination" in done.stderr
