// The extension module `vel._vel`: starts the library under VelThrowOnFailure for the life of
// the interpreter and turns its failures into vel.VelError.
#include <cstdint>

#include "VelPy.h"

namespace {

int g_modules = 0;

py::object& ErrorType() {
    static py::object* type = nullptr;
    if (!type) type = new py::object();
    return *type;
}

void StopLibrary() {
    VelPyLocked lock;
    UTI_VelDynamicAPI_finalize(g_modules);
}

}  // namespace

std::recursive_mutex& VelPyLibraryMutex() {
    static std::recursive_mutex mutex;
    return mutex;
}

void VelPyFail(const std::string& message) {
    PyErr_SetString(ErrorType().ptr(), message.c_str());
    throw py::error_already_set();
}

py::dtype VelPyDtypeOf(VelTypeKey key) {
    switch (key) {
        case VelTypeKeyDouble:
            return py::dtype::of<double>();
        case VelTypeKeyFloat:
            return py::dtype::of<float>();
        case VelTypeKeyBool:
            return py::dtype::of<bool>();
        case VelTypeKeyInt:
        case VelTypeKeyCMember:
        case VelTypeKeyCSet:
        case VelTypeKeyOCSet:
            return py::dtype::of<int32_t>();
    }
    VelPyFail("unknown element type key " + std::to_string(int(key)));
}

py::array_t<int, py::array::c_style> VelPyIndexArray(const py::handle& obj, const char* what,
                                                     int ndim) {
    const auto wide = VelPyInputArray<int64_t>(obj, what, ndim);
    const int64_t* data = wide.data();
    for (py::ssize_t i = 0; i < wide.size(); ++i)
        if (data[i] < INT32_MIN || data[i] > INT32_MAX)
            VelPyFail(std::string(what) + ": " + std::to_string(data[i]) +
                      " does not fit in 32 bits");
    return py::array_t<int, py::array::c_style>(wide.attr("astype")(py::dtype::of<int32_t>()));
}

py::tuple VelPyIdTuple(const VelDynamicID& id) {
    return py::make_tuple(id.Category(), id.First(), id.Second());
}

PYBIND11_MODULE(_vel, m) {
    m.doc() = "Vel database files: the C++ library's results layer and the objects below it";
    ErrorType() = py::exception<VelFailure>(m, "VelError");
    py::register_exception_translator([](std::exception_ptr failure) {
        try {
            if (failure) std::rethrow_exception(failure);
        } catch (const VelFailure& e) {
            PyErr_SetString(ErrorType().ptr(), e.what());
        } catch (const nex_Exception& e) {
            // A storage failure the bulk-data layers did not turn into an assertion: the hdf
            // objects the record bindings list views with.
            PyErr_SetString(ErrorType().ptr(), e.what());
        }
    });
    {
        VelPyLocked lock;
        VelAssert::SetFailurePolicy(VelThrowOnFailure);
        UTI_VelDynamicAPI_initialize(g_modules);
    }
    py::module_::import("atexit").attr("register")(py::cpp_function(&StopLibrary));
    VelPyBindResults(m);
    VelPyBindContext(m);
    VelPyBindRecords(m);
}
