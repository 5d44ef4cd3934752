#!/usr/bin/python3
"""Writes damaged variants of database files for tests/views/VelDamagedFiles_test.cpp.

    make-damaged-corpus.py [--count N] [--seed S] [--raw-share R] [--whole] SOURCE... OUTDIR

For each source, N variants (default 600).  60 % damage the file's structure through h5py, one
object and one kind of damage at a time: an attribute, dataset or group deleted, renamed,
retyped, reshaped, or filled with wrong values.  The rest damage raw bytes: truncation, flipped
bits and zeroed blocks, most of them in object headers and other metadata.  The same sources,
count and seed give the same variants.  Objects are visited round-robin, so a few hundred
variants damage every object once before any twice; small arrays (identities, counts) have each
element damaged on its own.  --count 3400 --raw-share 0 makes every structural damage of every
object of the example databases; --raw-share 1 makes raw damage only.

OUTDIR receives a copy of each source, manifest.tsv, and patches/<variant>.patch: the variant
as byte ranges written over its source (the sources are a megabyte each, mostly empty chunks;
hundreds of whole copies would not be).  --whole writes whole/<variant>.vel as well, for a look
with h5dump.

The manifest says for each variant whether its damage may change values the library cannot
check.  Both files are read back with h5py and compared object by object: a damage that leaves
every object, type and shape in place and changes only such values (a drawer's values, the
members of CSets that still decode to sets the drawers agree with, record members, string
bytes, association participants, a trusted count lowered) is "unchecked": the library may read
it into anything.  Every other damage is "checked": the library must refuse the variant or read
it exactly as its source.
"""

import argparse
import concurrent.futures
import multiprocessing
import os
import random
import shutil
import sys
import tempfile

import h5py
import numpy as np

# ---- the layout the classification knows -----------------------------------------------------

# "type" attribute kinds of the root's groups and of drawers.
KIND_COLLECTION, KIND_DISTRIBUTION, KIND_DRAWER = 0, 1, 3
CATEGORY_DATA_RECORD, CATEGORY_ASSOCIATION = 64, 65
ASCENDING_BIT = 0x80000000


def hex_name(number):
    return "%08X" % number


def number_of(name):
    base = name.rsplit("/", 1)[-1]
    if len(base) == 8 and all(c in "0123456789ABCDEF" for c in base):
        return int(base, 16)
    return None


# ---- snapshots: what h5py reads of a file, object by object -----------------------------------


def leaf_fields(dtype, prefix=()):
    """The paths of the leaf fields of a (possibly nested) compound type; () for a plain type."""
    if dtype.names is None:
        return [prefix]
    paths = []
    for name in dtype.names:
        paths.extend(leaf_fields(dtype.fields[name][0], prefix + (name,)))
    return paths


def field_of(array, path):
    for name in path:
        array = array[name]
    return array


def read_values(f, data):
    """{leaf field path: comparable value} of an array or scalar read by h5py."""
    array = np.asarray(data)
    values = {}
    for path in leaf_fields(array.dtype):
        leaf = field_of(array, path)
        if leaf.dtype.kind == "O":
            # References compare by the object they name; strings by their text.
            names = []
            for item in leaf.reshape(-1):
                if isinstance(item, h5py.Reference):
                    try:
                        names.append(f[item].name if item else None)
                    except Exception:
                        names.append("<bad reference>")
                else:
                    names.append(item)
            values[path] = names
        else:
            values[path] = np.array(leaf, copy=True)
    return values


def snapshot(path):
    """{key: entry} for every group, dataset and attribute; entry["error"] when unreadable."""
    objects = {}
    with h5py.File(path, "r") as f:

        def attributes(name, obj):
            for attribute in obj.attrs:
                key = (name, attribute)
                try:
                    value = obj.attrs[attribute]
                    array = np.asarray(value)
                    objects[key] = {
                        "kind": "attribute",
                        "type": str(obj.attrs.get_id(attribute).dtype.descr),
                        "shape": obj.attrs.get_id(attribute).shape,
                        "values": read_values(f, array),
                    }
                except Exception as failure:
                    objects[key] = {"kind": "attribute", "error": str(failure)}

        def visit(name, obj):
            if isinstance(obj, h5py.Group):
                objects[(name, None)] = {"kind": "group"}
            else:
                entry = {"kind": "dataset", "type": str(obj.dtype.descr), "shape": obj.shape,
                         "chunks": obj.chunks, "maxshape": obj.maxshape}
                try:
                    # A damaged extent may claim more than memory holds.
                    if obj.size * obj.dtype.itemsize > 64 << 20:
                        raise ValueError("%d elements" % obj.size)
                    entry["values"] = read_values(f, obj[()])
                except Exception as failure:
                    entry["error"] = str(failure)
                objects[(name, None)] = entry
            attributes(name, obj)

        attributes("", f)
        f.visititems(visit)
    return objects


# ---- the model of the bulk-data objects ---------------------------------------------------------
#
# What the loader and the drawer layer check of collections, CSets and drawers, re-stated over a
# snapshot: a file that passes gives the library no ground to refuse it.


def decode_set(ints, size):
    """(form, number of members) of one stored set, or None when the library refuses it.  The
    members are not made: a damaged count may run to billions."""
    if len(ints) < 2:
        return None
    form, count = ints[0], ints[1]
    if count < 0 or count > size:
        return None
    if form == 1:
        if len(ints) not in (4, 5):
            return None
        start, stride = ints[2], ints[3]
        block = ints[4] if len(ints) == 5 else 1
        if stride < 1 or start < 0:
            return None
        if len(ints) == 5 and (block < 2 or stride <= block or count % block or count // block < 2):
            return None
        blocks = count // block
        if count > 0 and start + (blocks - 1) * stride + block - 1 >= size:
            return None
        return form, count
    if form == 2:
        if len(ints) < 3:
            return None
        runs = ints[2]
        if runs < 0 or len(ints) != 3 + 2 * runs:
            return None
        total, end = 0, -1
        for r in range(runs):
            first, length = ints[3 + 2 * r], ints[4 + 2 * r]
            if first < 0 or length < 1 or first + length > size or first <= end:
                return None
            total += length
            end = first + length
        return (form, count) if total == count else None
    if form in (3, 4):
        members = list(ints[2:])
        if len(members) != count:
            return None
        if any(m < 0 or m >= size for m in members) or len(set(members)) != count:
            return None
        if form == 3 and members != sorted(members):
            return None
        return form, count
    return None


def value(entry, path=()):
    if entry is None or "error" in entry:
        raise ValueError("unreadable")
    return entry["values"][path]


def ints_of(entry):
    if entry is None or "error" in entry or entry["values"].keys() != {()}:
        raise ValueError("not ints")
    array = entry["values"][()]
    if array.dtype.kind not in "iu" or array.ndim != 1:
        raise ValueError("not ints")
    return [int(v) for v in array]


def collection_sets(objects, group):
    """{index: (form, size, linked)} of a collection's stored CSets; ValueError if refused."""
    size, count, full = ints_of(objects.get((group, "Collection attributes")))
    if size < 0 or count < 2 or full != 1:
        raise ValueError("collection attributes")
    table = objects.get((group + "/IndexSet index table", None))
    fields = ["dataset", "start", "length", "nameIndex", "indexSetIndex", "linkedId"]
    entries = [[int(v) for v in value(table, (name,))] for name in fields]
    if len(entries[0]) < count:
        raise ValueError("table shorter than the count")
    stored = ints_of(objects.get((group + "/IndexSets", None)))
    entries = [tuple(column[i] for column in entries) for i in range(count)]
    sets = {}
    for i, (dataset, start, length, name, owner, linked) in enumerate(entries):
        if dataset != 0 or name != -1:
            raise ValueError("unknown dataset")
        if start < 0 or length < 2 or start + length > len(stored):
            raise ValueError("outside IndexSets")
        if not (0 <= owner < count and -1 <= linked < count):
            raise ValueError("links outside")
        if linked != -1:
            twin = entries[linked]
            if owner != i or twin[4] != i or twin[5] != -1:
                raise ValueError("twin")
        if owner != i:
            o = entries[owner]
            if o[5] != i or o[1] != start or o[2] != length:
                raise ValueError("owner")
        if i == 1:
            # The full set is every member, whatever its stored ints say.
            sets[i] = (1, size, linked)
            continue
        decoded = decode_set(stored[start:start + length], size)
        if decoded is None or (decoded[0] == 4) != (linked != -1):
            raise ValueError("set")
        sets[i] = (decoded[0], decoded[1], linked)
    return sets


# The stored element type of each range type key's values (the keys refer to VelTypeKey).
VALUE_TYPES = {1: "<i4", 2: "<f8", 3: "<f4", 5: "<i4", 6: "<i4", 7: "<i4"}
SERIAL_BITS = 0x3FFFFFF


def drawer_sound(objects, group, number, grid, key, sets):
    attributes = ints_of(objects.get((group, "Drawer attributes")))
    n = len(grid)
    if len(attributes) != 3 * n + 2:
        raise ValueError("drawer attributes")
    nonzeros, symmetric = attributes[0], attributes[1]
    if nonzeros < 0 or symmetric not in (0, 1):
        raise ValueError("nonzeros or symmetric flag")
    used, sizes = set(), []
    for d in range(n):
        word, index, size = attributes[2 + 3 * d:5 + 3 * d]
        if word not in grid or word in used:
            raise ValueError("drawer collection")
        used.add(word)
        cset, collection = index & 0x7FFFFFFF, sets[word & SERIAL_BITS]
        if not index & ASCENDING_BIT or index == -1 or cset not in collection:
            raise ValueError("drawer CSet")
        if collection[cset][2] != -1 or collection[cset][1] != size:
            raise ValueError("drawer CSet size")
        sizes.append(size)
    values = objects.get((group + "/" + hex_name(number), None))
    index = objects.get((group + "/" + hex_name(number + 1), None))
    if values is None or "error" in values or key not in VALUE_TYPES or \
            values["type"] != str(np.dtype(VALUE_TYPES[key]).descr):
        raise ValueError("values dataset")
    if symmetric == 0 and index is None:
        if nonzeros != 0 or tuple(values["shape"]) != tuple(sizes):
            raise ValueError("standard drawer")
        return
    rows = sizes[0] if sizes else -1
    if rows < 0 or values["shape"] != (nonzeros + (rows if symmetric else 0),):
        raise ValueError("sparse values")
    ints = ints_of(index)
    if len(ints) != rows + nonzeros + 1 or index["type"] != str(np.dtype("<i4").descr):
        raise ValueError("sparse index")
    starts = ints[nonzeros:]
    if starts[0] != 0 or starts[-1] != nonzeros or any(a > b for a, b in zip(starts, starts[1:])):
        raise ValueError("row starts")


def distribution_sound(objects, name, sets):
    # A grid word may carry a color above the collection's serial.
    grid = ints_of(objects.get((name, "Grid")))
    if len(grid) > 7 or len(set(grid)) != len(grid) or \
            any(w & SERIAL_BITS not in sets or w == -1 for w in grid):
        raise ValueError("grid")
    key, refers, collection = ints_of(objects.get((name, "RangeType")))
    if key not in range(1, 8) or refers != (key >= 5):
        raise ValueError("range type")
    if (collection != -1) if not refers else (collection & SERIAL_BITS not in sets):
        raise ValueError("range collection")
    (next_drawer,) = ints_of(objects.get((name, "Distribution attributes")))
    for (drawer, attribute), entry in objects.items():
        if attribute is not None or entry["kind"] != "group":
            continue
        if drawer.rsplit("/", 1)[0] != name or number_of(drawer) is None:
            continue
        number = number_of(drawer)
        if 1 <= number < next_drawer:
            drawer_sound(objects, drawer, number, grid, key, sets)


def bulk_data_sound(objects):
    """False when the collections, CSets, distributions and drawers of a snapshot give the
    library a reason to refuse the file."""
    try:
        kinds = {}
        for (name, attribute), entry in objects.items():
            if attribute == "type" and "/" not in name and name:
                kinds[name] = ints_of(entry)
        sets = {}
        for name, (kind, minor) in kinds.items():
            if kind == KIND_COLLECTION:
                sets[minor] = collection_sets(objects, name)
        for name, (kind, minor) in kinds.items():
            if kind == KIND_DISTRIBUTION:
                distribution_sound(objects, name, sets)
        return True
    except (ValueError, KeyError, IndexError, TypeError):
        return False


# ---- which changed values the library cannot check ----------------------------------------------


class Roles:
    """The role of each value of the source, learnt from the source's own snapshot."""

    def __init__(self, objects):
        self.collections, self.distributions, self.drawers = set(), set(), set()
        for (name, attribute), entry in objects.items():
            if attribute == "type" and "error" not in entry:
                kind = int(entry["values"][()][0])
                {KIND_COLLECTION: self.collections, KIND_DISTRIBUTION: self.distributions,
                 KIND_DRAWER: self.drawers}.get(kind, set()).add(name)
        # Record tables by form and category: the analysis form's records, and the built-in
        # Types form's records of the stored types, which readers compare with their schema.
        self.record_tables = {}
        for (name, attribute), entry in objects.items():
            if attribute is None and name.endswith("/record/slots") and "error" not in entry:
                forms = entry["values"][("form",)]
                categories = entry["values"][("category",)]
                tables = entry["values"][("table",)]
                for form, category, table in zip(forms, categories, tables):
                    if table:
                        self.record_tables[table.lstrip("/")] = (bytes(form), int(category))

    def of(self, name, attribute, field):
        """'free': any value goes; 'lowered': a count loading trusts, which may only go down;
        'model': sound when bulk_data_sound passes; None: checked."""
        parent = name.rsplit("/", 1)[0] if "/" in name else ""
        base = name.rsplit("/", 1)[-1]
        if attribute == "Collection attributes" and name in self.collections:
            return "model"
        if attribute is None and parent in self.collections and base in (
                "IndexSets", "IndexSet index table"):
            return "model"
        if attribute in ("Drawer attributes", "Grid", "RangeType") and (
                name in self.drawers or name in self.distributions):
            return "model"
        if attribute is None and parent in self.drawers:
            # The values dataset is named by the drawer number, a sparse index by the next one.
            return "free" if base == parent.rsplit("/", 1)[-1] else "model"
        if attribute == "Distribution attributes" and name in self.distributions:
            return "lowered"
        if attribute is None and name in ("Context attributes", "record/serials",
                                          "stringTable/counts"):
            return "lowered"
        if attribute is None and name in ("stringTable/text", "stringTable/ends"):
            return "free"
        if attribute == "recordCounts":
            return "lowered"
        if attribute is None and base == "slots" and field == ("rows",):
            return "lowered"
        if attribute is None and name in self.record_tables:
            form, category = self.record_tables[name]
            if form != b"Analysis":
                # The stored types are compared with a reader's schema without the role names
                # of association members (member names are checked against the tables).
                return "free" if field == ("roleName",) else None
            if category == CATEGORY_DATA_RECORD and field != ("serial",):
                return "free"
            if category == CATEGORY_ASSOCIATION and field[-1:] != ("category",):
                return "free"
        return None


def lowered(old, new):
    old, new = np.asarray(old), np.asarray(new)
    return old.shape == new.shape and bool(np.all((new >= 0) & (new <= old)))


def classify(source_objects, roles, damaged_path):
    """("unchecked" or "checked", why)."""
    try:
        objects = snapshot(damaged_path)
    except Exception as failure:
        return "checked", "h5py cannot open it (%s)" % str(failure).splitlines()[0][:80]
    if objects.keys() != source_objects.keys():
        return "checked", "objects differ"
    needs_model, changed = False, False
    for key, old in source_objects.items():
        new = objects[key]
        if "error" in old or "error" in new:
            if old.get("error") != new.get("error"):
                return "checked", "%s unreadable" % (key,)
            continue
        # The model reads lengths too: a list of ints of the model may change its length.
        resizable = roles.of(key[0], key[1], ()) == "model"
        for facet in ("type", "shape", "chunks", "maxshape"):
            if old.get(facet) != new.get(facet) and not (facet == "shape" and resizable):
                return "checked", "%s of %s differs" % (facet, key)
        for field, before in old.get("values", {}).items():
            after = new["values"][field]
            # Bit for bit: -0.0 is not 0.0 to a reader that prints it.
            same = (before == after) if isinstance(before, list) else (
                before.shape == after.shape and before.tobytes() == after.tobytes())
            if same:
                continue
            changed = True
            role = roles.of(key[0], key[1], field)
            if role is None or (role == "lowered" and not lowered(before, after)):
                return "checked", "checked value of %s %s" % (key, field)
            needs_model = needs_model or role == "model"
    if not changed:
        return "checked", "no value changed"
    if needs_model and not bulk_data_sound(objects):
        return "checked", "collections or drawers no longer agree"
    return "unchecked", "only values the library cannot check"


# HDF5 itself may crash on a damaged file: the variants are read in worker processes, each of
# which inherits the source's snapshot when it is forked.
_CLASSIFYING = None


def _classify_in_worker(path):
    source_objects, roles = _CLASSIFYING
    return classify(source_objects, roles, path)


def classify_all(source_objects, roles, paths):
    global _CLASSIFYING
    _CLASSIFYING = (source_objects, roles)
    context = multiprocessing.get_context("fork")
    verdicts = {}
    pending = list(paths)
    workers = min(2, os.cpu_count() or 1)
    while pending:
        with concurrent.futures.ProcessPoolExecutor(workers, mp_context=context) as pool:
            futures = {pool.submit(_classify_in_worker, p): p for p in pending}
            for future in concurrent.futures.as_completed(futures):
                try:
                    verdicts[futures[future]] = future.result()
                except concurrent.futures.process.BrokenProcessPool:
                    break
        left = [p for p in pending if p not in verdicts]
        # A crashed worker takes the pool down.  The rest go on in one worker, which reads them
        # in order: once it crashes, the first variant without a verdict is the one.
        if left and workers == 1:
            verdicts[left[0]] = ("checked", "HDF5 itself crashes reading it")
            left = left[1:]
        workers = 1
        pending = left
    return [verdicts[p] for p in paths]


# ---- structural damage through h5py --------------------------------------------------------------

# Fills set every value of a member; the others change one element.
FILL_KINDS = ["negative", "zero", "huge"]
ELEMENT_KINDS = ["off-by-one-up", "off-by-one-down", "out-of-range", "element-negative"]
# Arrays up to this size get each element damaged on its own: they are the identities and counts.
SMALL_ARRAY = 16
RETYPES = ["float", "int64", "string", "compound"]
RESHAPES = ["longer", "shorter", "2-D"]


def damages_of(target):
    """The (kind, variant) pairs that apply to a target (an attribute, a dataset or a group)."""
    kind, dtype = target["kind"], target.get("dtype")
    pairs = [("delete", "")]
    if kind == "group":
        pairs += [("rename", "suffix"), ("retype", "dataset")]
        if number_of(target["path"]) is not None:
            pairs.append(("rename", "next number"))
        return pairs
    pairs += [("rename", "suffix")]
    if dtype.names is not None:
        pairs += [("retype", "wider members"), ("retype", "compound"), ("retype", "byte order"),
                  ("retype", "string")]
    else:
        pairs += [("retype", r) for r in RETYPES]
    pairs += [("reshape", r) for r in RESHAPES]
    # A value damage is (how, member, element); element None picks one that holds something.
    small = dtype.names is None and target["size"] <= SMALL_ARRAY
    for path in leaf_fields(dtype):
        if field_of(np.zeros(1, dtype), path).dtype.kind not in "iuf":
            continue
        pairs += [("values", (how, path, None)) for how in FILL_KINDS]
        for element in range(target["size"]) if small else [None]:
            pairs += [("values", (how, path, element)) for how in ELEMENT_KINDS]
    if dtype.names is not None and "table" in dtype.names:
        pairs += [("values", ("other reference", ("table",), None))]
    return pairs


def targets_of(path):
    targets = []
    with h5py.File(path, "r") as f:

        def add(name, obj):
            for attribute in obj.attrs:
                stored = obj.attrs.get_id(attribute)
                targets.append({"kind": "attribute", "path": name, "name": attribute,
                                "dtype": stored.dtype, "size": int(np.prod(stored.shape))})
            if name:
                if isinstance(obj, h5py.Group):
                    targets.append({"kind": "group", "path": name})
                else:
                    targets.append({"kind": "dataset", "path": name, "dtype": obj.dtype,
                                    "size": obj.size})

        add("", f)
        f.visititems(add)
    return targets


def widened(dtype):
    """The same members, each integer or float member widened to 8 bytes."""
    if dtype.names is None:
        if dtype.kind in "iu":
            return np.dtype(dtype.byteorder.replace("|", "=") + "i8")
        if dtype.kind == "f":
            return np.dtype(dtype.byteorder.replace("|", "=") + "f8")
        return dtype
    return np.dtype([(name, widened(dtype.fields[name][0])) for name in dtype.names])


def swapped(dtype):
    if dtype.names is None:
        return dtype.newbyteorder("S") if dtype.kind in "iuf" else dtype
    return np.dtype([(name, swapped(dtype.fields[name][0])) for name in dtype.names])


def converted(data, dtype):
    """`data` in `dtype`, member by member for compounds (references kept)."""
    out = np.zeros(data.shape, dtype)
    if dtype.names is None:
        out[...] = data
        return out
    for name in dtype.names:
        sub = converted(data[name], dtype.fields[name][0]) if data.dtype.names else data
        out[name] = sub
    return out


def retyped(data, how):
    """`data` stored as another type: `how` says which."""
    dtype = data.dtype
    if how == "float":
        return data.astype(np.float64)
    if how == "int64":
        return data.astype(np.int64)
    if how == "string":
        text = " ".join(str(v) for v in data.reshape(-1)[:16]).encode() or b"?"
        return np.array([text] * max(1, data.size))
    if how == "wider members":
        return converted(data, widened(dtype))
    if how == "byte order":
        return converted(data, swapped(dtype))
    # A compound of other members: for a compound the first member renamed, for plain values two
    # members of the element's type.
    if dtype.names is not None:
        names = list(dtype.names)
        names[0] = names[0] + "X"
        other = np.dtype([(n, dtype.fields[o][0]) for n, o in zip(names, dtype.names)])
        out = np.zeros(data.shape, other)
        for n, o in zip(names, dtype.names):
            out[n] = data[o]
        return out
    other = np.dtype([("low", dtype), ("high", dtype)])
    out = np.zeros(data.shape, other)
    out["low"] = data
    return out


def reshaped(data, how):
    flat = data.reshape(-1)
    if how == "longer":
        return np.concatenate([flat, flat[-1:] if flat.size else np.zeros(1, data.dtype)])
    if how == "shorter":
        return flat[:-1]
    return flat.reshape(-1, 1) if flat.size % 2 else flat.reshape(-1, 2)


def pick_element(leaf, rng):
    """An element of a leaf that holds something: nonzero if any."""
    flat = leaf.reshape(-1)
    nonzero = np.flatnonzero(flat)
    if nonzero.size:
        return int(nonzero[rng.randrange(nonzero.size)])
    return 0 if flat.size else None


def with_values(data, damage, rng):
    """(new data, words) of a value damage (how, member, element), or None if it cannot apply."""
    how, path, element = damage
    data = np.array(data, copy=True)
    if data.size == 0 or (element is not None and element >= data.size):
        return None
    leaf = field_of(data, path)
    member = (" member " + ".".join(path)) if path else ""
    kind = leaf.dtype.kind
    info = np.finfo(leaf.dtype) if kind == "f" else np.iinfo(leaf.dtype)
    if how in ("negative", "zero", "huge"):
        fill = {"negative": -1 if kind != "u" else info.max, "zero": 0, "huge": info.max}[how]
        if np.all(leaf == fill):
            return None
        leaf[...] = fill
        return data, "%s set to %s everywhere" % (member.strip() or "every value", fill)
    at = pick_element(leaf, rng) if element is None else element
    index = np.unravel_index(at, leaf.shape)
    old = leaf[index].item()
    if how == "off-by-one-up":
        new = old + 1
    elif how == "off-by-one-down":
        new = old - 1
    elif how == "out-of-range":
        new = float("nan") if kind == "f" else (info.min if kind == "i" else info.max)
        if kind == "i" and old == info.min:
            new = info.max
    else:
        new = -old if old else -1
    if kind != "f":
        new = int(min(max(new, info.min), info.max))
    if new == old:
        return None
    leaf[index] = new
    return data, "element %d%s %s -> %s" % (at, member, old, new)


def recreate(parent, name, data, like):
    """Replaces dataset `name` by one holding `data`, chunked like `like` where it can be."""
    attributes = {a: like.attrs[a] for a in like.attrs}
    chunks = like.chunks
    del parent[name]
    options = {"track_times": False}
    if chunks is not None and data.ndim >= 1 and data.size > 0:
        options["chunks"] = tuple(list(chunks[:1]) + [max(1, s) for s in data.shape[1:]])
        options["maxshape"] = tuple([None] * data.ndim)
    created = parent.create_dataset(name, data=data, **options)
    for a, v in attributes.items():
        created.attrs[a] = v
    return created


def apply_structural(path, target, kind, how, rng):
    """Damages the file at `path` in place; the words for the manifest, or None if the damage
    does not apply."""
    with h5py.File(path, "r+") as f:
        where = "/" + target["path"]
        if target["kind"] == "attribute":
            obj = f[where] if target["path"] else f
            name = target["name"]
            what = "attribute \"%s\" of %s" % (name, where)
            data = np.asarray(obj.attrs[name])
            dtype = obj.attrs.get_id(name).dtype
            if kind == "delete":
                del obj.attrs[name]
                return what + " deleted"
            if kind == "rename":
                obj.attrs.create(name + "~", data, dtype=dtype)
                del obj.attrs[name]
                return what + " renamed \"%s~\"" % name
            if kind == "retype":
                new = retyped(data, how)
                if new.dtype == dtype:
                    return None
                del obj.attrs[name]
                obj.attrs.create(name, new)
                return what + " retyped: " + how
            if kind == "reshape":
                new = reshaped(data.reshape(-1) if data.ndim == 0 else data, how)
                del obj.attrs[name]
                obj.attrs.create(name, new, dtype=dtype)
                return what + " reshaped: %s, now %s" % (how, new.shape)
            changed = with_values(data.reshape(-1) if data.ndim == 0 else data, how, rng)
            if changed is None:
                return None
            new, words = changed
            obj.attrs.create(name, new.reshape(data.shape), dtype=dtype)
            return what + " values: " + how[0] + ", " + words
        parent = f[where.rsplit("/", 1)[0] or "/"]
        base = where.rsplit("/", 1)[1]
        obj = f[where]
        what = "%s %s" % (target["kind"], where)
        if kind == "delete":
            del parent[base]
            return what + " deleted"
        if kind == "rename":
            if how == "next number":
                number = number_of(base) + 1
                while hex_name(number) in parent:
                    number += 1
                parent.move(base, hex_name(number))
                return what + " renamed " + hex_name(number)
            parent.move(base, base + "~")
            return what + " renamed \"%s~\"" % base
        if target["kind"] == "group":
            del parent[base]
            parent.create_dataset(base, data=np.int32(0), track_times=False)
            return what + " replaced by a dataset"
        data = obj[()]
        if kind == "retype":
            new = retyped(np.asarray(data), how)
            if new.dtype == obj.dtype:
                return None
            recreate(parent, base, new, obj)
            return what + " retyped: " + how
        if kind == "reshape":
            array = np.asarray(data)
            new = reshaped(array.reshape(-1) if array.ndim == 0 else array, how)
            recreate(parent, base, new, obj)
            return what + " reshaped: %s, now %s" % (how, new.shape)
        if how[0] == "other reference":
            tables = [r for r in data["table"] if r]
            if len(tables) < 2:
                return None
            row = rng.randrange(len(data))
            data["table"][row] = tables[(tables.index(data["table"][row]) + 1) % len(tables)] \
                if data["table"][row] in tables else tables[0]
            obj[...] = data
            return what + " values: row %d refers to another row's table" % row
        changed = with_values(np.asarray(data), how, rng)
        if changed is None:
            return None
        new, words = changed
        obj[...] = new
        return what + " values: " + how[0] + ", " + words


# ---- raw byte damage --------------------------------------------------------------------------------


def raw_regions(path):
    """[(start, end, dataset)] of every allocated piece of raw data."""
    regions = []
    with h5py.File(path, "r") as f:

        def visit(name, obj):
            if not isinstance(obj, h5py.Dataset):
                return
            dsid = obj.id
            if obj.chunks is None:
                offset = dsid.get_offset()
                if offset is not None:
                    regions.append((offset, offset + dsid.get_storage_size(), name))
            else:
                for i in range(dsid.get_num_chunks()):
                    info = dsid.get_chunk_info(i)
                    regions.append((info.byte_offset, info.byte_offset + info.size, name))

        f.visititems(visit)
    return sorted(regions)


def object_headers(path):
    """[(start, end, object)] of the first chunk of every object header: the messages that say
    what an object is and where its data lie."""
    headers = []
    with h5py.File(path, "r") as f:
        base = f.userblock_size

        def visit(name, obj):
            info = h5py.h5o.get_info(obj.id)
            headers.append((base + info.addr, base + info.addr + info.hdr.space.total, name))

        visit("/", f)
        f.visititems(visit)
    return sorted(headers)


def byte_pools(source, regions, headers):
    """Offsets worth damaging: the object headers, the rest of the file's metadata (everything
    that is not raw data, the user block included) and the raw data in use (up to the last
    nonzero byte of each piece)."""
    covered = np.zeros(len(source), bool)
    used = []
    for start, end, _ in regions:
        covered[start:end] = True
        piece = np.frombuffer(source, np.uint8, end - start, start)
        nonzero = np.flatnonzero(piece)
        if nonzero.size:
            used.extend(range(start, start + int(nonzero[-1]) + 1))
    in_headers = np.zeros(len(source), bool)
    for start, end, _ in headers:
        in_headers[start:min(end, len(source))] = True
    return (np.flatnonzero(in_headers), np.flatnonzero(~covered & ~in_headers),
            np.array(used, np.int64))


def region_at(regions, headers, offset):
    for start, end, name in regions:
        if start <= offset < end:
            return "%s +%d" % (name, offset - start)
    for start, end, name in headers:
        if start <= offset < end:
            return "object header of %s +%d" % (name, offset - start)
    return "metadata"


def raw_damages(source, regions, headers, count, rng):
    """[(kind, target, words, damaged bytes)]."""
    size = len(source)
    in_headers, metadata, used = byte_pools(source, regions, headers)
    damages = []
    cuts = [0, 100, 511, 512, 1024, 2048, 4096, size // 8, size // 4, size // 2, 3 * size // 4,
            size - 4096, size - 512, size - 8, size - 1]
    truncations = max(4, count // 6)
    extra = [rng.randrange(1, size) for _ in range(max(0, truncations - len(cuts)))]
    for cut in sorted(set(c for c in cuts + extra if 0 <= c < size))[:truncations]:
        damages.append(("truncate", "at %d" % cut, "cut to %d of %d bytes (%s)" % (
            cut, size, region_at(regions, headers, cut)), source[:cut]))

    def offset_from(pool_weights):
        roll = rng.random()
        for pool, weight in pool_weights:
            if roll < weight and len(pool):
                return int(pool[rng.randrange(len(pool))])
            roll -= weight
        return rng.randrange(size)

    rest = count - len(damages)
    flips = rest * 3 // 5
    for _ in range(flips):
        at = offset_from([(in_headers, 0.4), (metadata, 0.25), (used, 0.25)])
        bit = rng.randrange(8)
        damaged = bytearray(source)
        damaged[at] ^= 1 << bit
        damages.append(("flip", "byte %d bit %d" % (at, bit), "bit %d of byte %d flipped (%s)" % (
            bit, at, region_at(regions, headers, at)), bytes(damaged)))
    for _ in range(rest - flips):
        length = rng.randrange(512, 4097)
        at = min(offset_from([(in_headers, 0.4), (metadata, 0.2), (used, 0.25)]), size - 1)
        end = min(size, at + length)
        damaged = bytearray(source)
        damaged[at:end] = bytes(end - at)
        damages.append(("zero", "bytes %d-%d" % (at, end), "%d bytes zeroed from %d (%s)" % (
            end - at, at, region_at(regions, headers, at)), bytes(damaged)))
    return damages


# ---- the corpus -------------------------------------------------------------------------------------


def write_patch(path, source, damaged):
    """The byte ranges where `damaged` differs from `source` cut or zero-extended to its size."""
    a = np.zeros(len(damaged), np.uint8)
    n = min(len(source), len(damaged))
    a[:n] = np.frombuffer(source, np.uint8, n)
    differ = np.flatnonzero(a != np.frombuffer(damaged, np.uint8))
    ranges = []
    for offset in differ:
        offset = int(offset)
        if ranges and offset - ranges[-1][1] <= 16:
            ranges[-1][1] = offset + 1
        else:
            ranges.append([offset, offset + 1])
    with open(path, "wb") as out:
        out.write(b"VELPATCH 1\nsize %d\n" % len(damaged))
        for start, end in ranges:
            out.write(b"%d %d\n" % (start, end - start))
            out.write(damaged[start:end])
            out.write(b"\n")


def structural_plan(targets, count, rng):
    """`count` (target, kind, how) picks: every target once before any target twice, each
    target's damages in its own shuffled order."""
    queues = []
    for target in targets:
        pairs = damages_of(target)
        rng.shuffle(pairs)
        queues.append((target, pairs))
    rng.shuffle(queues)
    plan = []
    while len(plan) < count and any(pairs for _, pairs in queues):
        for target, pairs in queues:
            if pairs and len(plan) < count:
                plan.append((target,) + pairs.pop())
    return plan


def target_words(target):
    if target["kind"] == "attribute":
        return "/%s@%s" % (target["path"], target["name"])
    return "/" + target["path"]


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--count", type=int, default=600, help="variants per source")
    parser.add_argument("--seed", type=int, default=20240611)
    parser.add_argument("--raw-share", type=float, default=0.4,
                        help="the share of the variants with raw byte damage")
    parser.add_argument("--whole", action="store_true", help="also write whole variant files")
    parser.add_argument("sources", nargs="+")
    parser.add_argument("outdir")
    args = parser.parse_args()

    outdir = os.path.abspath(args.outdir)
    patches = os.path.join(outdir, "patches")
    shutil.rmtree(patches, ignore_errors=True)
    shutil.rmtree(os.path.join(outdir, "whole"), ignore_errors=True)
    os.makedirs(patches)
    if args.whole:
        os.makedirs(os.path.join(outdir, "whole"))
    lines = ["name\tsource\tfamily\tkind\ttarget\texpectation\tdamage"]
    scratch = tempfile.mkdtemp(prefix="vel-corpus-")
    try:
        for source_path in args.sources:
            source_name = os.path.basename(source_path)
            stem = os.path.splitext(source_name)[0]
            copy = os.path.join(outdir, source_name)
            if os.path.abspath(source_path) != copy:
                shutil.copyfile(source_path, copy)
            with open(copy, "rb") as f:
                source = f.read()
            # One generator per family, so that either family's variants stay as they are
            # when the other changes.
            rng = random.Random("%s/%d/%d/structure" % (stem, args.seed, args.count))
            raw_rng = random.Random("%s/%d/%d/bytes" % (stem, args.seed, args.count))
            source_objects = snapshot(copy)
            roles = Roles(source_objects)
            variants = []

            structural = args.count - int(args.count * args.raw_share)
            work = os.path.join(scratch, stem + ".vel")
            for target, kind, how in structural_plan(targets_of(copy), structural, rng):
                shutil.copyfile(copy, work)
                try:
                    words = apply_structural(work, target, kind, how, rng)
                except Exception as failure:
                    words = None
                    print("%s: %s %s of %s not made: %s" % (stem, kind, how, target_words(target),
                                                            failure), file=sys.stderr)
                if words is None:
                    continue
                with open(work, "rb") as f:
                    damaged = f.read()
                variants.append(("structure", kind, target_words(target), words, damaged))

            for kind, where, words, damaged in raw_damages(
                    source, raw_regions(copy), object_headers(copy), args.count - len(variants),
                    raw_rng):
                variants.append(("bytes", kind, where, words, damaged))

            names = ["%s-%04d-%s" % (stem, number, v[1]) for number, v in enumerate(variants)]
            for name, (family, kind, where, words, damaged) in zip(names, variants):
                with open(os.path.join(scratch, name + ".vel"), "wb") as f:
                    f.write(damaged)
            verdicts = classify_all(source_objects, roles,
                                    [os.path.join(scratch, n + ".vel") for n in names])
            for name, (family, kind, where, words, damaged), (expectation, why) in zip(
                    names, variants, verdicts):
                write_patch(os.path.join(patches, name + ".patch"), source, damaged)
                work = os.path.join(scratch, name + ".vel")
                if args.whole:
                    shutil.move(work, os.path.join(outdir, "whole", name + ".vel"))
                else:
                    os.remove(work)
                words = "%s [%s]" % (words, why)
                lines.append("\t".join([name, source_name, family, kind, where, expectation,
                                        words.replace("\t", " ").replace("\n", " ")]))
    finally:
        shutil.rmtree(scratch, ignore_errors=True)
    with open(os.path.join(outdir, "manifest.tsv"), "w") as f:
        f.write("\n".join(lines) + "\n")
    print("%d variants of %d sources in %s" % (len(lines) - 1, len(args.sources), outdir))


if __name__ == "__main__":
    main()
