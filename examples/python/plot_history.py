"""A node's displacement over the steps of a results file, plotted to a PNG.

Run it on the finite-element example's plate (examples/fem_results.cpp; scripts/demo.sh makes
build/demo/plate.vel):

    PYTHONPATH=build/release/python python3 examples/python/plot_history.py build/demo/plate.vel

Arguments: the results file, then optionally the node (default: the last node, the plate's
loaded upper corner) and the PNG's path (default: FILE.png).
"""

import sys

import matplotlib

matplotlib.use("Agg")  # a PNG, no window
import matplotlib.pyplot as plt
import numpy as np

import vel

path = sys.argv[1] if len(sys.argv) > 1 else "plate.vel"

# %% What the file holds: the steps with their times, and the fields.
with vel.open(path) as f:
    print(f"{path}: {f.step_count} steps, {len(f.coordinates)} nodes")
    for step, time in enumerate(f.times):
        print(f"  step {step}: time {time:g}")
    for name, field in f.fields.items():
        print(f"  field {name} ({field.location}): components {', '.join(field.components)}"
              f"{' in ' + field.units if field.units else ''}")

    # %% One node's displacement at every step: a (steps, components) array.
    node = int(sys.argv[2]) if len(sys.argv) > 2 else len(f.coordinates) - 1
    displacement = f.field("displacement")
    history = displacement.history(node)
    times = f.times
    units, components = displacement.units, displacement.components

# %% The plot: one line per component, and the magnitude.
fig, ax = plt.subplots(figsize=(6, 4))
for c, component in enumerate(components):
    ax.plot(times, history[:, c], marker="o", label=component)
ax.plot(times, np.linalg.norm(history, axis=1), "k--", label="|u|")
ax.set_xlabel("time")
ax.set_ylabel(f"displacement [{units}]" if units else "displacement")
ax.set_title(f"node {node}")
ax.legend()
ax.grid(True, alpha=0.3)
png = sys.argv[3] if len(sys.argv) > 3 else f"{path}.png"
fig.savefig(png, dpi=100, bbox_inches="tight")
print(f"node {node}: largest |u| {np.linalg.norm(history, axis=1).max():g}, plotted to {png}")
