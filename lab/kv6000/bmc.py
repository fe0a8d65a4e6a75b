"""Orders to the BMC of a running server, over the socket in its run folder."""

import json
import socket
from pathlib import Path

from kv6000.errors import LabError, last_lines

ANSWER_TIME_LIMIT = 10


def order(folder: Path, line: str):
    """Sends one order. Returns a dict when the BMC answers JSON, else its text; LabError when it refuses."""
    with socket.socket(socket.AF_UNIX) as client:
        client.settimeout(ANSWER_TIME_LIMIT)
        try:
            client.connect(str(folder / "bmc.sock"))
            client.sendall(line.encode() + b"\n")
            with client.makefile() as answers:
                answer = answers.readline().rstrip("\n")
        except OSError as error:
            raise LabError(f"The BMC in {folder} does not take orders: {error.strerror or error}.",
                           last_lines(folder / "bmc.log")) from error
    if answer.startswith("error: "):
        raise LabError(f"The BMC refuses '{line}': {answer.removeprefix('error: ')}.")
    return json.loads(answer) if answer.startswith("{") else answer
