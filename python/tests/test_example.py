"""The Python example plots a node's history from the results example's file."""

import os
import subprocess
import sys
from pathlib import Path

import matplotlib.image

SCRIPT = Path(__file__).resolve().parents[2] / "examples" / "python" / "plot_history.py"


def test_plot_history_of_the_beam(example, tmp_path):
    beam = example("vel_results_writer", tmp_path / "beam.vel")
    png = tmp_path / "tip.png"
    out = subprocess.run([sys.executable, str(SCRIPT), str(beam), "999", str(png)], check=True,
                         capture_output=True, text=True, env=dict(os.environ)).stdout
    assert "5 steps, 1000 nodes" in out
    assert "step 4: time 0.4" in out
    assert "field displacement (node): components x, y, z in m" in out
    # The tip moves 1e-3 * 999 per step in -y: 3.996 at the last step.
    assert "node 999: largest |u| 3.996" in out
    height, width, _ = matplotlib.image.imread(png).shape
    assert height > 100 and width > 100
