"""The results layer: files of the C++ writer read in Python, files of the Python writer read
by the C++ reader, and appending."""

import numpy as np
import pytest
from numpy.testing import assert_array_equal

import vel

CELL_NODES = {"vertex": 1, "line2": 2, "line3": 3, "tri3": 3, "tri6": 6, "quad4": 4, "quad8": 8,
              "quad9": 9, "tet4": 4, "tet10": 10, "pyramid5": 5, "pyramid13": 13, "wedge6": 6,
              "wedge15": 15, "wedge18": 18, "hex8": 8, "hex20": 20, "hex27": 27}


# The formulas of vel_python_peer write-results.
def expected_connectivity(type_index, per_element):
    return np.array([[(type_index + k + e) % 30 for k in range(per_element)] for e in range(2)])


def expected_u(step):
    n = np.arange(30.0)
    return np.column_stack([step + n, -n * 0.5 * step])


def test_cpp_writer_python_reader(peer, tmp_path):
    path = tmp_path / "r.vel"
    peer("write-results", path)
    with vel.open(path) as f:
        assert f.has_results
        assert_array_equal(f.times, [0.0, 0.5, 1.0])
        n = np.arange(30.0)
        assert_array_equal(f.coordinates, np.column_stack([n, n * 0.5, -n * 0.25]))
        blocks = f.element_blocks
        assert list(blocks) == list(CELL_NODES)
        for t, (name, per_element) in enumerate(CELL_NODES.items()):
            assert blocks[name]["cell_type"] == name
            assert_array_equal(blocks[name]["connectivity"], expected_connectivity(t, per_element))
        assert_array_equal(f.node_sets["ends"], [29, 0, 15])
        block, ids = f.element_sets["second"]
        assert block == "hex8"
        assert_array_equal(ids, [1])

        u, s = f.field("u"), f.fields["s"]
        assert (u.location, u.components, u.units, u.entity_count) == ("node", ["a", "b"], "mm", 30)
        assert (s.location, s.block, s.components, s.units) == ("element", "hex8", ["v"], "MPa")
        for step in range(3):
            values = u.read(step)
            assert values.dtype == np.float64 and values.flags.c_contiguous
            assert_array_equal(values, expected_u(step))
            assert_array_equal(u.read(step, node_set="ends"), expected_u(step)[[29, 0, 15]])
            assert_array_equal(s.read(step), [[100.0 * step], [100.0 * step + 1]])
            assert_array_equal(s.read(step, element_set="second"), [[100.0 * step + 1]])
        assert_array_equal(u.history(7), np.array([expected_u(step)[7] for step in range(3)]))

        f.write_xdmf(tmp_path / "r.xmf")
        assert "Xdmf" in (tmp_path / "r.xmf").read_text()


def write_model(path):
    rng = np.random.default_rng(7)
    xyz = rng.random((12, 3))
    quads = np.array([[0, 1, 5, 4], [1, 2, 6, 5], [2, 3, 7, 6]])
    steps = [rng.random((12, 3)) for _ in range(4)]
    with vel.create(path) as out:
        out.add_nodes(xyz)
        out.add_element_block("shell", "quad4", quads)
        out.add_element_block("tip", "tet10", np.arange(10).reshape(1, 10))
        out.add_node_set("edge", [3, 7, 11])
        out.add_element_set("middle", "shell", np.array([1], dtype=np.int64))
        u = out.add_nodal_field("displacement", ["x", "y", "z"], "m")
        p = out.add_element_field("pressure", "shell", ["p"])
        for step, values in enumerate(steps):
            assert out.add_step(0.25 * step) == step
            u.write(step, values)
            p.write(step, np.arange(3.0) + step)
            out.checkpoint()
        assert out.step_count == 4 and out.node_count == 12
    return xyz, quads, steps


def test_python_writer_cpp_reader(peer, tmp_path):
    xyz, quads, steps = write_model(tmp_path / "w.vel")
    dump = peer("dump-results", tmp_path / "w.vel")
    assert_array_equal(dump["times"], [0.0, 0.25, 0.5, 0.75])
    assert_array_equal(np.reshape(dump["coordinates"], (-1, 3)), xyz)
    assert dump["blocks"]["shell"]["type"] == "quad4"
    assert_array_equal(np.reshape(dump["blocks"]["shell"]["connectivity"], (-1, 4)), quads)
    assert_array_equal(dump["blocks"]["tip"]["connectivity"], np.arange(10))
    assert dump["node_sets"] == {"edge": [3, 7, 11]}
    assert dump["element_sets"] == {"middle": ["shell", [1]]}
    displacement = dump["fields"]["displacement"]
    assert (displacement["components"], displacement["units"]) == (["x", "y", "z"], "m")
    for step, values in enumerate(steps):
        assert_array_equal(np.reshape(displacement["steps"][step], (-1, 3)), values)
        assert_array_equal(dump["fields"]["pressure"]["steps"][step], np.arange(3.0) + step)


def test_append_and_converted_input(tmp_path):
    path = tmp_path / "a.vel"
    _, _, steps = write_model(path)
    with vel.create(path, append=True) as out:
        u = out.field("displacement")
        step = out.add_step(1.0)
        # Fortran order, a strided view and float32 are converted as NumPy converts them.
        fortran = np.asfortranarray(steps[0] * 2)
        u.write(step, fortran)
        out.add_node_set("odd", np.arange(1, 12, 2).astype(np.float32))
        wide = np.zeros((12, 6))
        wide[:, ::2] = steps[1]
        u.write(step, wide[:, ::2])
    with vel.open(path) as f:
        assert f.step_count == 5
        assert_array_equal(f.field("displacement").read(4), steps[1])
        assert_array_equal(f.node_sets["odd"], np.arange(1, 12, 2))
        assert_array_equal(f.field("displacement").history(0)[:, 0],
                           [s[0, 0] for s in steps] + [steps[1][0, 0]])


def test_reads_into_caller_arrays_and_from_threads(tmp_path):
    path = tmp_path / "t.vel"
    _, _, steps = write_model(path)
    with vel.open(path) as f:
        u = f.field("displacement")
        out = np.full((12, 3), np.nan)
        assert u.read(2, out=out) is not None
        assert_array_equal(out, steps[2])
        for bad in (np.empty((12, 3), np.float32), np.empty((3, 12)).T, np.empty((11, 3)),
                    np.empty(36), [[0.0] * 3] * 12):
            with pytest.raises(vel.VelError, match="out must be"):
                u.read(2, out=bad)
        frozen = np.empty((12, 3))
        frozen.flags.writeable = False
        with pytest.raises(vel.VelError):
            u.read(2, out=frozen)

        # Reads run without the interpreter lock; the library lock keeps threads apart.
        def read_all(step, results):
            results.extend(u.read(step) for _ in range(50))

        from threading import Thread

        results = [[] for _ in steps]
        threads = [Thread(target=read_all, args=(s, results[s])) for s in range(len(steps))]
        for t in threads:
            t.start()
        for t in threads:
            t.join()
        for step, values in enumerate(results):
            assert len(values) == 50
            for v in values:
                assert_array_equal(v, steps[step])
