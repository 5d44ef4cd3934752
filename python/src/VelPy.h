// Shared pieces of the Python extension module: the library lock, NumPy arrays the library
// fills, and the conversions of identifiers.  The module uses only the installed headers.
#ifndef VEL_PYTHON_VELPY_H
#define VEL_PYTHON_VELPY_H

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <vel/vel.h>

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace py = pybind11;

// The library is not thread-safe.  Every call into it holds this lock; a call that does I/O
// releases the interpreter lock first (VelPyUnlocked), so other Python threads run meanwhile
// but never enter the library at the same time.
std::recursive_mutex& VelPyLibraryMutex();

// Holds the library lock with the interpreter lock held (calls that do no bulk I/O).
class VelPyLocked {
public:
    VelPyLocked() : m_lock(VelPyLibraryMutex()) {}

private:
    std::lock_guard<std::recursive_mutex> m_lock;
};

// Runs `work` without the interpreter lock, holding the library lock.  A VelFailure thrown
// inside crosses back with the interpreter lock taken again, where pybind11 translates it.
template <class Work>
auto VelPyWithoutGil(Work&& work) {
    py::gil_scoped_release release;
    std::lock_guard<std::recursive_mutex> lock(VelPyLibraryMutex());
    return work();
}

// Raises vel.VelError with `message` (a refusal the module itself makes).
[[noreturn]] void VelPyFail(const std::string& message);

// The NumPy dtype of a range type's or buffer's element type.
py::dtype VelPyDtypeOf(VelTypeKey key);

// A C-contiguous array of `T` converted from any array-like NumPy converts, refused with a
// vel.VelError naming `what` when it is not `ndim`-dimensional (ndim < 0: any).
template <class T>
py::array_t<T, py::array::c_style | py::array::forcecast> VelPyInputArray(const py::handle& obj,
                                                                          const char* what,
                                                                          int ndim = -1) {
    using Array = py::array_t<T, py::array::c_style | py::array::forcecast>;
    // ensure() converts as NumPy's own casting does and gives a null array (the Python error
    // cleared) for what does not convert.
    Array array = Array::ensure(obj);
    if (!array) VelPyFail(std::string(what) + ": not convertible to an array of numbers");
    if (ndim >= 0 && array.ndim() != ndim)
        VelPyFail(std::string(what) + ": expected " + std::to_string(ndim) +
                  "-dimensional array, got " + std::to_string(array.ndim()) + " dimensions");
    return array;
}

// Node, element and member numbers as a C-contiguous int32 array, refused with a vel.VelError
// naming `what` when a number does not fit in 32 bits (NumPy's own cast would wrap it).
py::array_t<int, py::array::c_style> VelPyIndexArray(const py::handle& obj, const char* what,
                                                     int ndim);

// A NumPy array of `shape` that takes over `values` (no copy): the array owns the vector.
template <class T>
py::array_t<T> VelPyArrayOwning(std::vector<T>&& values, std::vector<py::ssize_t> shape) {
    auto* owned = new std::vector<T>(std::move(values));
    py::capsule owner(owned, [](void* p) { delete static_cast<std::vector<T>*>(p); });
    return py::array_t<T>(std::move(shape), owned->data(), owner);
}

// An identifier as Python sees it: a tuple (category, first, second) of its dynamic form.
py::tuple VelPyIdTuple(const VelDynamicID& id);

void VelPyBindResults(py::module_& m);
void VelPyBindContext(py::module_& m);
void VelPyBindRecords(py::module_& m);

#endif
