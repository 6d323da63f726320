"""The simulator inside the program, for first steps and tests."""


class Simulator:
    """A measurement server with a simulated tracker, on a port of its own.

        with kestrine.Simulator() as simulator:
            connection.ConnectEmbeddedSystem("127.0.0.1", simulator.port)

    `time_scale` is that of every duration, 0 for everything at once; `seed` that of the noise; 0 for `port` and
    `block_points` leaves them to the simulator.
    """

    def __init__(self, port: int = 0, *, seed: int = 1, time_scale: float = 1.0, block_points: int = 0):
        from . import _embedded_simulator

        self._service = _embedded_simulator.Service(port, seed, time_scale, block_points)
        self.port: int = self._service.port

    def close(self) -> None:
        """Ends it, and with it all its connections."""
        self._service = None

    def __enter__(self) -> "Simulator":
        return self

    def __exit__(self, *_) -> None:
        self.close()
