"""Compares two database files value for value with h5py, an independent reader: the same
objects under the same names, every dataset with the same type, shape and values, every
attribute with the same values, and the same signature block before the HDF5 data.

    compare_files.py A B    exit status 0 when they hold the same, 1 with the differences
"""
import sys

import h5py
import numpy


def objects(f):
    found = {"/": f}
    f.visititems(lambda name, obj: found.__setitem__("/" + name, obj))
    return found


def named(f, values):
    """Values with every object reference replaced by the path of the object it names: the
    addresses themselves depend on where each file placed its objects."""
    if isinstance(values, h5py.Reference):
        return f[values].name if values else None
    if isinstance(values, numpy.void):
        return tuple(named(f, values[field]) for field in values.dtype.names)
    if isinstance(values, numpy.ndarray) and values.dtype.hasobject:
        return [named(f, v) for v in values.flat]
    return values


def same_values(fa, a, fb, b):
    a, b = numpy.asarray(a), numpy.asarray(b)
    if a.dtype != b.dtype or a.shape != b.shape:
        return False
    if not a.dtype.hasobject:
        return numpy.array_equal(a, b)
    return [named(fa, v) for v in a.flat] == [named(fb, v) for v in b.flat]


def differences(path_a, path_b):
    with h5py.File(path_a, "r") as fa, h5py.File(path_b, "r") as fb:
        if fa.userblock_size != fb.userblock_size:
            yield "user blocks of %d and %d bytes" % (fa.userblock_size, fb.userblock_size)
        a, b = objects(fa), objects(fb)
        for name in sorted(set(a) ^ set(b)):
            yield "%s is in one file only" % name
        for name in sorted(set(a) & set(b)):
            oa, ob = a[name], b[name]
            if type(oa) is not type(ob):
                yield "%s is a %s and a %s" % (name, type(oa).__name__, type(ob).__name__)
                continue
            if isinstance(oa, h5py.Dataset) and not same_values(fa, oa[()], fb, ob[()]):
                yield "%s holds other values" % name
            for key in sorted(set(oa.attrs) ^ set(ob.attrs)):
                yield "%s has attribute %r in one file only" % (name, key)
            for key in sorted(set(oa.attrs) & set(ob.attrs)):
                if not same_values(fa, oa.attrs[key], fb, ob.attrs[key]):
                    yield "%s's attribute %r differs" % (name, key)
    with open(path_a, "rb") as fa, open(path_b, "rb") as fb:
        size = h5py.File(path_a, "r").userblock_size
        if fa.read(size) != fb.read(size):
            yield "the signature blocks differ"


def main():
    found = list(differences(sys.argv[1], sys.argv[2]))
    for line in found:
        print(line)
    print("%s and %s: %s" % (sys.argv[1], sys.argv[2], "differ" if found else "the same"))
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
