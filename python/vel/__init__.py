"""Vel database files from Python.

``vel.open(path)`` reads a database: its results by name (times, coordinates, element blocks,
node and element sets, fields) when it holds them, and the objects below them in any database
(collections and their CSets, distributions and their drawers, DSets, views of typed records).
``vel.create(path)`` writes a results file.  Values are NumPy arrays; every failure the library
reports is raised as ``vel.VelError``.
"""

from ._vel import (
    CSet,
    Collection,
    Distribution,
    Drawer,
    DSet,
    Field,
    VelError,
    View,
    signature,
)
from ._file import File, ResultsWriter, SparseValues, create, create_database, open

__all__ = [
    "CSet",
    "Collection",
    "Distribution",
    "Drawer",
    "DSet",
    "Field",
    "File",
    "ResultsWriter",
    "SparseValues",
    "VelError",
    "View",
    "create",
    "create_database",
    "open",
    "signature",
]
