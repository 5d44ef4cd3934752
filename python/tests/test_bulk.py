"""The objects below the results layer: every range type and serialization written by C++ and
read in Python, written in Python and read by C++; CSets, DSets, and the records of a view."""

import re
from pathlib import Path

import numpy as np
import pytest
from numpy.testing import assert_array_equal

import vel

RANGE_TYPES = ["int", "double", "float", "bool", "cmember", "cset", "ocset"]
DTYPES = {"int": np.int32, "double": np.float64, "float": np.float32, "bool": np.bool_,
          "cmember": np.int32, "cset": np.int32, "ocset": np.int32}


# The formulas of vel_python_peer write-bulk, over rows i of 6 and columns j of 4.
def formula(range_type, rows=range(6), columns=range(4)):
    i, j = np.meshgrid(np.array(rows), np.array(columns), indexing="ij")
    if range_type in ("double", "float"):
        values = i + j / 8.0
    elif range_type == "bool":
        values = (i + j) % 2
    elif range_type == "int":
        values = i * 10 - j
    else:
        values = (i + j) % 3
    return values.astype(DTYPES[range_type])


def sparse_expected():
    dense = np.zeros((6, 4))
    for i in range(6):
        for j in range(4):
            if (i + j) % 3 == 0:
                dense[i, j] = 4 * i + j + 1
    return dense


def symmetric_expected():
    dense = np.diag(np.arange(1.0, 7.0))
    for i in range(6):
        for j in range(i + 1, 6):
            if (i + j) % 2:
                dense[i, j] = dense[j, i] = -(i + j)
    return dense.astype(np.float32)


def test_cpp_bulk_read_in_python(peer, tmp_path, capfd):
    peer("write-bulk", tmp_path / "b.vel")
    with vel.open(tmp_path / "b.vel") as f:
        a, b, c, a2 = f.collections
        assert [x.size for x in f.collections] == [6, 4, 5, 6]
        d = f.distributions
        assert len(d) == len(RANGE_TYPES) + 4
        for dist, range_type in zip(d, RANGE_TYPES):
            assert dist.range_type == range_type
            assert (dist.range_collection == c) == (range_type in ("cmember", "cset", "ocset"))
            assert dist.grid == [a, b]
            (drawer,) = dist.drawers
            values = vel.File.read_drawer(drawer)
            assert values.dtype == DTYPES[range_type]
            assert_array_equal(values, formula(range_type))

        strided = d[7].drawers[0]
        rows, columns = strided.description["csets"]
        assert_array_equal(rows.members, [1, 3, 5])
        assert_array_equal(columns.members, [0, 1])
        assert_array_equal(vel.File.read_drawer(strided), formula("double", [1, 3, 5], [0, 1]))
        chunked = d[8].drawers[0]
        assert chunked.description["chunks"] == (2, 2)
        assert_array_equal(vel.File.read_drawer(chunked), formula("double"))

        sparse = vel.File.read_drawer(d[9].drawers[0])
        assert not sparse.symmetric and sparse.diagonal is None
        assert sparse.columns.dtype == np.int32 and len(sparse.row_starts) == 7
        assert_array_equal(sparse.to_dense(), sparse_expected())
        desc = d[10].drawers[0].description
        assert (desc["serialization"], desc["symmetric"], desc["nonzeros"]) == (
            "sparse_symmetric", True, 9)
        symmetric = vel.File.read_drawer(d[10].drawers[0])
        assert symmetric.values.dtype == np.float32
        assert_array_equal(symmetric.diagonal, np.arange(1.0, 7.0))
        assert_array_equal(symmetric.to_dense(), symmetric_expected())

        capfd.readouterr()
        ordered = [s for s in c.csets if not s.is_ascending]
        # Listed without trying identifiers: the library reports no failure on the way.
        assert capfd.readouterr().err == ""
        assert len(ordered) == 1
        # The empty and the full CSet, the permutation; its ascending twin (index 3) is no CSet
        # of its own.
        assert [s.index for s in c.csets] == [0, 1, 2]
        assert_array_equal(ordered[0].members, [4, 0, 3])
        assert_array_equal(ordered[0].ascending_members, [0, 3, 4])
        (dset,) = f.dsets
        compartments = [[cset.members.tolist() for cset in comp] for comp in dset.compartments]
        assert sorted(compartments) == sorted([[[1, 3, 5], [0, 2, 3]], [list(range(6)), [0, 1]]])


def test_sparse_values_as_scipy_matrices(peer, tmp_path):
    pytest.importorskip("scipy")
    peer("write-bulk", tmp_path / "b.vel")
    with vel.open(tmp_path / "b.vel") as f:
        sparse, symmetric = (vel.File.read_drawer(d.drawers[0]) for d in f.distributions[9:])
        assert_array_equal(sparse.to_scipy().toarray(), sparse_expected())
        assert_array_equal(symmetric.to_scipy().toarray(), symmetric_expected())


def test_python_bulk_read_by_cpp(peer, tmp_path):
    path = tmp_path / "p.vel"
    with vel.create_database(path) as db:
        a, b, c = db.create_collection(6), db.create_collection(4), db.create_collection(5)
        a2 = db.create_collection(6)
        full = [x.create_strided_cset(0, 1, 1, x.size) for x in (a, b)]
        for range_type in RANGE_TYPES:
            refers = range_type in ("cmember", "cset", "ocset")
            dist = db.create_distribution([a, b], range_type, c if refers else None)
            dist.write_drawer(full, formula(range_type))
        some = db.create_distribution([a, b], "double")
        rows = a.create_cset([1, 3, 5])
        assert rows.size == 3
        some.write_drawer([rows, b.create_cset(np.array([0, 1]))],
                          formula("double", [1, 3, 5], [0, 1]))
        dense = sparse_expected()
        nz = np.nonzero(dense)
        starts = np.searchsorted(nz[0], np.arange(7))
        db.create_distribution([a, b], "double").write_sparse_drawer(
            full[0], full[1], dense[nz], nz[1], starts)
        sym = symmetric_expected()
        upper = np.nonzero(np.triu(sym, 1))
        db.create_distribution([a, a2], "float").write_sparse_drawer(
            full[0], a2.create_strided_cset(0, 1, 1, 6), sym[upper], upper[1],
            np.searchsorted(upper[0], np.arange(7)), np.diag(sym))
        with pytest.raises(vel.VelError, match="shape"):
            some.write_drawer([rows, full[1]], np.zeros((3, 3)))
        with pytest.raises(vel.VelError):
            some.write_drawer([rows, full[1]], [["x"] * 4] * 3)
        with pytest.raises(vel.VelError):
            db.create_distribution([a, b], "complex")
        db.flush()

    dump = peer("dump-bulk", path)
    assert len(dump) == len(RANGE_TYPES) + 3
    for drawer, range_type in zip(dump, RANGE_TYPES):
        assert drawer["shape"] == [6, 4]
        assert_array_equal(drawer["buffers"][0], formula(range_type).ravel())
    assert_array_equal(dump[7]["buffers"][0], formula("double", [1, 3, 5], [0, 1]).ravel())
    values, columns, starts, _ = dump[8]["buffers"]
    assert dump[8]["serialization"] == 3
    assert_array_equal(values, dense[nz])
    assert_array_equal(columns, nz[1])
    assert_array_equal(starts, np.searchsorted(nz[0], np.arange(7)))
    values, columns, starts, diagonal = dump[9]["buffers"]
    assert dump[9]["serialization"] == 4
    assert_array_equal(values, sym[upper])
    assert_array_equal(diagonal, np.diag(sym))


def records_schema():
    """The QARN text of the record examples, from their header."""
    header = Path(__file__).resolve().parents[2] / "examples" / "records_schema.h"
    return re.search(r'R"\((.*?)\)"', header.read_text(), re.S).group(1)


def test_records_of_a_view(example, tmp_path, capfd):
    path = example("vel_records_writer", tmp_path / "records.vel")
    with vel.open(path) as f:
        assert f.views == [("Analysis", 1)]
        (entry,) = f.view_entries
        assert entry == {"name": "Analysis-1-0", "form": "Analysis", "level": 1, "edition": 0,
                         "published": True, "latest": True}
        capfd.readouterr()
        # Without a schema the types are listed by identifier, unnamed: the file keeps no names.
        stored = f.view("Analysis", 1).types
        assert capfd.readouterr().err == ""
        assert all(t["name"] is None and t["form"] == "Analysis" for t in stored)
        assert {t["id"]: t["count"] for t in stored} == {
            "Analysis#0": 3, "Analysis#1": 6, "Analysis#2": 3, "Analysis#3": 2, "Analysis#4": 2}
        view = f.view("Analysis", 1, schema=records_schema())
        assert (view.form, view.level, view.name) == ("Analysis", 1, "Analysis-1-0")
        types = {t["name"]: t for t in view.types}
        assert set(types) == {"LoadCase", "Material", "AnalysisCases", "Materials", "CaseResults"}
        assert types["LoadCase"]["category"] == "record"
        assert (types["LoadCase"]["ordinal"], types["LoadCase"]["count"]) == (2, 3)
        assert types["CaseResults"]["members"][1]["kind"] == "distribution"
        assert [t["id"] for t in view.types] == [t["id"] for t in stored]

        cases = view.records("LoadCase")
        assert [(c["name"], c["number"], c["factor"]) for c in cases] == [
            ("dead load", 101, 1.0), ("wind", 102, 1.25), ("first mode", 103, 1.5)]
        steel, ply = view.records("Material")
        assert steel["name"] == "S355 steel" and steel["catalogNumber"] == 3550000000123
        assert steel["density"] == np.float32(7850.0) and steel["isotropic"] is True
        assert (ply["colour"], ply["layer"], ply["isotropic"]) == (200, -4, False)

        ordered = view.pairs("AnalysisCases")
        assert [second["name"] for first, second in ordered] == ["dead load", "wind", "first mode"]
        assert all(first == "focus" for first, _ in ordered)
        results = view.pairs(types["CaseResults"]["id"])
        assert len(results) == 6
        assert all(isinstance(second, vel.Distribution) for _, second in results)
        assert len({second.id for _, second in results}) == 6
        with pytest.raises(vel.VelError):
            view.records("NoSuchType")

