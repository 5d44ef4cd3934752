"""Refusals: bad input to writes, mistakes in reads, damaged and foreign files.  Each raises
vel.VelError, and the interpreter carries on."""

import shutil

import numpy as np
import pytest

import vel


@pytest.fixture
def model(tmp_path):
    path = tmp_path / "m.vel"
    with vel.create(path) as out:
        out.add_nodes(np.zeros((4, 3)))
        u = out.add_nodal_field("u", ["x", "y"])
        out.add_step(0.0)
        u.write(0, np.ones((4, 2)))
    return path


def test_bad_writes_are_refused(tmp_path):
    with vel.create(tmp_path / "b.vel") as out:
        with pytest.raises(vel.VelError, match="shape"):
            out.add_nodes(np.zeros((4, 2)))
        with pytest.raises(vel.VelError):
            out.add_nodes(np.zeros(12))
        with pytest.raises(vel.VelError):
            out.add_nodes([["a", "b", "c"]])
        out.add_nodes(np.zeros((4, 3), dtype=np.float32))
        with pytest.raises(vel.VelError, match="cell type"):
            out.add_element_block("b", "hex9", [[0, 1, 2]])
        with pytest.raises(vel.VelError, match="columns"):
            out.add_element_block("b", "tri3", [[0, 1, 2, 3]])
        with pytest.raises(vel.VelError):
            out.add_node_set("s", [[0, 1]])
        with pytest.raises(vel.VelError, match="32 bits"):
            out.add_node_set("s", np.array([2**32 + 1], dtype=np.int64))
        # The library's own refusals reach Python as VelErrors with their text.
        with pytest.raises(vel.VelError, match="names node 9"):
            out.add_element_block("b", "tri3", [[0, 1, 9]])
        with pytest.raises(vel.VelError, match="given twice"):
            out.add_node_set("s", [0, 0])
        u = out.add_nodal_field("u", ["x", "y"])
        step = out.add_step(0.0)
        for bad in (np.ones((4, 3)), np.ones((3, 2)), np.ones(8), np.ones((4, 2, 1)), "ab"):
            with pytest.raises(vel.VelError):
                u.write(step, bad)
        with pytest.raises(vel.VelError, match="step 1 does not exist"):
            u.write(step + 1, np.ones((4, 2)))
        u.write(step, np.ones((4, 2), dtype=np.int16))


def test_bad_reads_are_refused(model):
    with vel.open(model) as f:
        u = f.field("u")
        for bad in (lambda: u.read(-1), lambda: f.field("v"), lambda: u.history(4),
                    lambda: u.read(0, node_set="none")):
            with pytest.raises(vel.VelError):
                bad()
        with pytest.raises(KeyError):
            f.node_sets["none"]
    with pytest.raises(vel.VelError, match="closed"):
        u.read(0)
    with pytest.raises(vel.VelError):
        f.collections


def test_foreign_and_damaged_files(model, tmp_path):
    text = tmp_path / "text.vel"
    text.write_text("not a database\n" * 100)
    h5 = tmp_path / "plain.h5"
    h5py = pytest.importorskip("h5py")
    with h5py.File(h5, "w") as plain:
        plain["x"] = np.arange(10)
    for foreign in (text, h5, tmp_path / "missing.vel"):
        with pytest.raises(vel.VelError):
            vel.open(foreign)

    empty = tmp_path / "empty.vel"
    empty.write_bytes(b"")
    with pytest.raises(vel.VelError):
        vel.open(empty)

    # Truncations, a zeroed signature and a zeroed HDF5 superblock (it follows the 512-byte
    # signature block).
    data = model.read_bytes()
    damaged = [data[:cut] for cut in (600, len(data) // 2, len(data) - 100)]
    damaged += [bytes(8) + data[8:], data[:512] + bytes(512) + data[1024:]]
    for k, content in enumerate(damaged):
        bad = tmp_path / f"damaged{k}.vel"
        bad.write_bytes(content)
        with pytest.raises(vel.VelError):
            with vel.open(bad) as f:
                f.field("u").read(0)

    # A database without results: the lower layers read, the results refuse.
    bare = tmp_path / "bare.vel"
    with vel.create_database(bare) as db:
        db.create_collection(3)
    with vel.open(bare) as f:
        assert [c.size for c in f.collections] == [3]
        assert not f.has_results
        with pytest.raises(vel.VelError, match="holds no results"):
            f.times

    # The interpreter and the library still work.
    with vel.open(model) as f:
        np.testing.assert_array_equal(f.field("u").read(0), np.ones((4, 2)))


def test_info_summarises_a_file(model, capsys, tmp_path):
    from vel.__main__ import main

    assert main(["info", str(model)]) == 0
    out = capsys.readouterr().out
    assert "Vel database" in out and "1 steps" in out and "field u: nodal, components x, y" in out
    shutil.copy(model, tmp_path / "copy.vel")
    (tmp_path / "copy.vel").write_bytes(b"\0" * 1024)
    assert main(["info", str(tmp_path / "copy.vel")]) == 1
    assert "not a Vel database" in capsys.readouterr().err
