import random

import pytest
from peer import Peer

import kestrine

SETTINGS = "[Settings]\nNonblockingConnect=0\n"


def pytest_configure(config):
    config.addinivalue_line("markers", "classic: holds in classic behaviour too, for which KESTRINE_BEHAVIOUR asks")


@pytest.fixture(scope="session", autouse=True)
def settings(tmp_path_factory):
    """A test must meet neither the settings nor the registered libraries of whoever runs it."""
    folder = tmp_path_factory.mktemp("profile")
    (folder / "Kestrine.ini").write_text(SETTINGS)
    with pytest.MonkeyPatch.context() as patch:
        for name in ("KESTRINE_PROFILE_DIR", "XDG_DATA_HOME", "XDG_DATA_DIRS"):
            patch.setenv(name, str(folder))
        yield


@pytest.fixture
def dice():
    return random.Random(20)


@pytest.fixture
def peer():
    peer = Peer()
    yield peer
    peer.close()


@pytest.fixture
def connection(peer):
    connection = kestrine.Dispatch("Kestrine.LTConnect2")
    connection.ConnectEmbeddedSystem("127.0.0.1", peer.port)
    yield connection
    connection.DisconnectEmbeddedSystem()


@pytest.fixture
def tracker(connection):
    return connection.ILTCommandSync


@pytest.fixture
def sender(connection):
    return connection.ILTCommandAsync


@pytest.fixture
def wait_for():
    def wait(condition, seconds=5):
        for _ in range(int(seconds * 100)):
            if condition():
                return
            kestrine.PumpEvents(0.01)
        raise AssertionError("it did not happen in time")
    return wait
