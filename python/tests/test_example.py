"""The Python example plots a node's history from the finite-element example's results file."""

import os
import subprocess
import sys
from pathlib import Path

import matplotlib.image

SCRIPT = Path(__file__).resolve().parents[2] / "examples" / "python" / "plot_history.py"


def test_plot_history_of_the_plate(example, tmp_path):
    plate = example("vel_fem_results", tmp_path / "plate.vel")
    png = tmp_path / "tip.png"
    out = subprocess.run([sys.executable, str(SCRIPT), str(plate), "19", str(png)], check=True,
                         capture_output=True, text=True, env=dict(os.environ)).stdout
    assert "4 steps, 20 nodes" in out
    assert "step 3: time 1" in out
    assert "field displacement (node): components x, y, z in mm" in out
    # The loaded corner at full load: 0.004 along x, -0.02 along y.
    assert "node 19: largest |u| 0.0203961" in out
    height, width, _ = matplotlib.image.imread(png).shape
    assert height > 100 and width > 100
