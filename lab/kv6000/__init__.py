"""The client of the virtual KV6000 server: builds what its guest needs, starts it, runs commands in it, ends it."""

from kv6000.errors import LabError
from kv6000.guest import Result
from kv6000.server import Server
from kv6000.settings import ServerSettings

__all__ = ["LabError", "Result", "Server", "ServerSettings"]
