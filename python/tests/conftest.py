"""Shared fixtures: the C++ peer program and the example programs of the build under test."""

import json
import os
import subprocess
from pathlib import Path

import pytest


def _program(variable, name=None):
    value = os.environ.get(variable)
    if not value:
        pytest.skip(f"{variable} is not set (run the tests through ctest)")
    return Path(value) / name if name else Path(value)


@pytest.fixture
def peer():
    """Runs the C++ peer: ``peer("write-bulk", path)``; JSON output is parsed."""
    program = _program("VEL_PYTHON_PEER")

    def run(command, path):
        out = subprocess.run([str(program), command, str(path)], check=True,
                             capture_output=True, text=True).stdout
        return json.loads(out) if command.startswith("dump") else out

    return run


@pytest.fixture
def example():
    """Runs an example writer into ``path``: ``example("vel_records_writer", path)``."""
    directory = _program("VEL_EXAMPLES_DIR")

    def run(name, path):
        subprocess.run([str(directory / name), str(path)], check=True, capture_output=True)
        return path

    return run
