"""Reads the XDMF files vel-xdmf wrote for vel_xdmf_sample's results and compares what a reader
sees with the arrays the writer wrote (RESULTS.vel.json): points, cells, every field at every
step, and the times.

    /usr/bin/python3 check_xdmf.py meshio FOLDER     (meshio's XDMF time-series reader)
    pvpython check_xdmf.py paraview FOLDER           (ParaView's own XDMF reader)

Exit status 0 when every file matches, 1 with the differences otherwise."""
import json
import math
import sys

import numpy as np

FILES = ("one-block.vel", "two-blocks.vel")
HEX, TET = 12, 10  # VTK cell type numbers


def expected(folder, name):
    with open(f"{folder}/{name}.json") as f:
        data = json.load(f)
    bricks = np.array(data["bricks"], dtype=np.int64).reshape(-1, 8)
    tets = np.array(data["tets"], dtype=np.int64).reshape(-1, 4)
    cells = [("hexahedron", bricks)] + ([("tetra", tets)] if len(tets) else [])
    steps = []
    for s, t in enumerate(data["times"]):
        u = np.array(data[f"displacement{s}"]).reshape(-1, 3)
        # Element fields cover every cell of the grid; the cells of other blocks read as NaN.
        p = np.full((len(bricks) + len(tets), 1), math.nan)
        p[: len(bricks), 0] = data[f"pressure{s}"]
        stress = np.full((len(bricks) + len(tets), 6), math.nan)
        own = np.array(data[f"stress{s}"]).reshape(-1, 6)
        if len(tets):
            stress[len(bricks):] = own
        else:
            stress[:] = own
        steps.append((t, {"displacement": u}, {"pressure": p, "stress": stress}))
    return np.array(data["points"]).reshape(-1, 3), cells, steps


def same(a, b):
    a, b = np.asarray(a, dtype=float), np.asarray(b, dtype=float)
    return a.shape == b.shape and np.array_equal(np.isnan(a), np.isnan(b)) and np.allclose(
        np.nan_to_num(a), np.nan_to_num(b), rtol=0, atol=0)


def check_meshio(folder):
    import meshio
    problems = []
    for name in FILES:
        points, cells, steps = expected(folder, name)
        with meshio.xdmf.TimeSeriesReader(f"{folder}/{name}.xmf") as reader:
            got_points, got_cells = reader.read_points_cells()
            if not same(got_points, points):
                problems.append(f"{name}: points differ")
            got = [(c.type, np.asarray(c.data)) for c in got_cells]
            if [g[0] for g in got] != [c[0] for c in cells] or not all(
                    np.array_equal(g[1], c[1]) for g, c in zip(got, cells)):
                problems.append(f"{name}: cells differ: {[g[0] for g in got]}")
            if reader.num_steps != len(steps):
                problems.append(f"{name}: {reader.num_steps} steps, not {len(steps)}")
            for k, (time, point_data, cell_data) in enumerate(steps):
                t, got_point_data, got_cell_data = reader.read_data(k)
                if t != time:
                    problems.append(f"{name}: step {k} at time {t}, not {time}")
                for field, values in point_data.items():
                    if not same(got_point_data.get(field), values):
                        problems.append(f"{name}: step {k}: {field} differs")
                for field, values in cell_data.items():
                    blocks = got_cell_data.get(field)
                    joined = np.concatenate(blocks) if blocks is not None else None
                    if joined is None or not same(joined, values):
                        problems.append(f"{name}: step {k}: {field} differs")
    return problems


def check_paraview(folder):
    from paraview import servermanager
    from paraview.simple import Xdmf3ReaderS
    from vtk.util.numpy_support import vtk_to_numpy
    problems = []
    for name in FILES:
        points, cells, steps = expected(folder, name)
        reader = Xdmf3ReaderS(FileName=[f"{folder}/{name}.xmf"])
        times = list(reader.TimestepValues)
        if times != [s[0] for s in steps]:
            problems.append(f"{name}: times {times}, not {[s[0] for s in steps]}")
        for k, (time, point_data, cell_data) in enumerate(steps):
            reader.UpdatePipeline(time)
            grid = servermanager.Fetch(reader)
            if grid.IsA("vtkMultiBlockDataSet"):
                grid = grid.GetBlock(0)
            if not same(vtk_to_numpy(grid.GetPoints().GetData()), points):
                problems.append(f"{name}: step {k}: points differ")
            types = vtk_to_numpy(grid.GetCellTypesArray())
            connectivity = vtk_to_numpy(grid.GetCells().GetConnectivityArray())
            want_types = np.concatenate(
                [np.full(len(c), HEX if kind == "hexahedron" else TET) for kind, c in cells])
            want_connectivity = np.concatenate([c.ravel() for _, c in cells])
            if not np.array_equal(types, want_types) or not np.array_equal(
                    connectivity, want_connectivity):
                problems.append(f"{name}: step {k}: cells differ")
            for arrays, fields in ((grid.GetPointData(), point_data),
                                   (grid.GetCellData(), cell_data)):
                for field, values in fields.items():
                    array = arrays.GetArray(field)
                    got = None if array is None else vtk_to_numpy(array).reshape(len(values), -1)
                    if got is None or not same(got, values):
                        problems.append(f"{name}: step {k}: {field} differs")
    return problems


def main():
    mode, folder = sys.argv[1], sys.argv[2]
    problems = check_meshio(folder) if mode == "meshio" else check_paraview(folder)
    for problem in problems:
        print(f"{mode}: {problem}")
    print(f"{mode}: {len(FILES)} files, {'all match' if not problems else 'MISMATCH'}")
    sys.exit(1 if problems else 0)


if __name__ == "__main__":
    main()
