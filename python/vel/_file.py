"""Files: a database opened for reading, a results file or a database being written."""

from dataclasses import dataclass
from typing import Optional

import numpy as np

from . import _vel


@dataclass
class SparseValues:
    """A sparse drawer's values as compressed rows, the layout ``scipy.sparse.csr_matrix``
    takes: row ``r`` holds ``values[row_starts[r]:row_starts[r + 1]]`` in the columns
    ``columns[...]`` of the same slice.  A symmetric drawer stores the nonzeros above the
    diagonal and the diagonal apart."""

    values: np.ndarray
    columns: np.ndarray
    row_starts: np.ndarray
    shape: tuple
    symmetric: bool
    diagonal: Optional[np.ndarray] = None

    def to_dense(self) -> np.ndarray:
        dense = np.zeros(self.shape, dtype=self.values.dtype)
        rows = np.repeat(np.arange(self.shape[0]), np.diff(self.row_starts))
        dense[rows, self.columns] = self.values
        if self.symmetric:
            dense[self.columns, rows] = self.values
            dense[np.diag_indices(self.shape[0])] = self.diagonal
        return dense

    def to_scipy(self):
        """A ``scipy.sparse.csr_matrix`` of the whole matrix (scipy must be installed)."""
        from scipy import sparse

        upper = sparse.csr_matrix((self.values, self.columns, self.row_starts), shape=self.shape)
        if not self.symmetric:
            return upper
        return (upper + upper.T + sparse.diags(self.diagonal)).tocsr()


def read_drawer(drawer: _vel.Drawer):
    """A drawer's values: an array shaped by its CSets, or ``SparseValues``."""
    values = drawer.read()
    if isinstance(values, dict):
        return SparseValues(**values)
    return values


class _Sets:
    """Named sets, read when asked for: ``f.node_sets["clamped"]``."""

    def __init__(self, names, read):
        self._names = list(names)
        self._read = read

    def __getitem__(self, name):
        if name not in self._names:
            raise KeyError(name)
        return self._read(name)

    def __contains__(self, name):
        return name in self._names

    def __iter__(self):
        return iter(self._names)

    def __len__(self):
        return len(self._names)

    def keys(self):
        return list(self._names)


class File:
    """A database file open for reading (``vel.open``) or, from ``vel.create_database``, for
    writing objects below the results layer.  A context manager; ``close`` ends every handle
    taken from it."""

    def __init__(self, path, create=False, writable=False):
        self.path = str(path)
        self._context = _vel.Context(self.path, create, writable or create)
        self._results = None

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def close(self):
        if self._results is not None:
            self._results.close()
        self._context.close()

    # ---- results -----------------------------------------------------------------------
    @property
    def has_results(self) -> bool:
        return any(form == "VelResults" for form, _ in self.views)

    @property
    def results(self):
        """The results reader of the file; raises VelError for a database without results."""
        if self._results is None:
            if not self._context.is_open:
                raise VelError(f'the database "{self.path}" is closed')
            self._results = _vel.ResultsFile.open_reader(self.path)
        return self._results

    @property
    def step_count(self) -> int:
        return self.results.step_count

    @property
    def times(self) -> np.ndarray:
        return self.results.times

    @property
    def coordinates(self) -> np.ndarray:
        return self.results.coordinates

    @property
    def element_blocks(self) -> dict:
        return {b["name"]: b for b in self.results.element_blocks}

    @property
    def node_sets(self) -> _Sets:
        return _Sets(self.results.node_set_names, self.results.node_set)

    @property
    def element_sets(self) -> _Sets:
        return _Sets(self.results.element_set_names, self.results.element_set)

    @property
    def fields(self) -> dict:
        return {name: self.results.field(name) for name in self.results.field_names}

    def field(self, name) -> _vel.Field:
        return self.results.field(name)

    def write_xdmf(self, path):
        self.results.write_xdmf(str(path))

    # ---- the objects below ---------------------------------------------------------------
    @property
    def signature(self) -> dict:
        return _vel.signature(self.path)

    @property
    def collections(self):
        return self._context.collections

    @property
    def distributions(self):
        return self._context.distributions

    @property
    def dsets(self):
        return self._context.dsets

    @property
    def views(self):
        """(form, level) of every published view."""
        return self._context.views

    @property
    def view_entries(self):
        """Every view of the file, published or not, as dicts: name, form, level, edition,
        published, latest (the edition ``view(form, level)`` opens)."""
        return self._context.view_entries

    def view(self, form, level, schema=None) -> _vel.View:
        return self._context.view(form, level, schema)

    read_drawer = staticmethod(read_drawer)

    # ---- writing below the results layer -------------------------------------------------
    def create_collection(self, size) -> _vel.Collection:
        return self._context.create_collection(size)

    def create_distribution(self, grid, range_type, range_collection=None):
        return self._context.create_distribution(list(grid), range_type, range_collection)

    def create_dset(self, compartments) -> _vel.DSet:
        return self._context.create_dset([list(c) for c in compartments])

    def flush(self):
        """A checkpoint: what was written so far survives a kill of the process."""
        self._context.flush()


class ResultsWriter:
    """Writes a results file, as the C++ VelResultsWriter does; a context manager whose exit
    closes the file (a checkpoint, then the close)."""

    def __init__(self, writer):
        self._writer = writer

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def close(self):
        self._writer.close()

    def checkpoint(self):
        self._writer.checkpoint()

    @property
    def node_count(self) -> int:
        return self._writer.node_count

    @property
    def step_count(self) -> int:
        return self._writer.step_count

    def add_nodes(self, coordinates):
        self._writer.add_nodes(coordinates)

    def add_element_block(self, name, cell_type, connectivity):
        self._writer.add_element_block(name, cell_type, connectivity)

    def add_node_set(self, name, ids):
        self._writer.add_node_set(name, ids)

    def add_element_set(self, name, block, ids):
        self._writer.add_element_set(name, block, ids)

    def add_nodal_field(self, name, components, units="") -> _vel.Field:
        return self._writer.add_nodal_field(name, list(components), units)

    def add_element_field(self, name, block, components, units="") -> _vel.Field:
        return self._writer.add_element_field(name, block, list(components), units)

    def field(self, name) -> _vel.Field:
        return self._writer.field(name)

    def add_step(self, time) -> int:
        return self._writer.add_step(float(time))


VelError = _vel.VelError


def open(path) -> File:  # noqa: A001 - the package's entry point mirrors the builtin's use
    """Opens a database file for reading."""
    return File(path)


def create(path, append=False) -> ResultsWriter:
    """A new results file at ``path`` (replacing any file there), or with ``append`` an
    existing one to add steps, fields and sets to."""
    path = str(path)
    if append:
        return ResultsWriter(_vel.ResultsFile.open_writer(path))
    return ResultsWriter(_vel.ResultsFile.create(path))


def create_database(path) -> File:
    """A new database at ``path`` for collections, CSets, distributions and DSets."""
    return File(path, create=True)
