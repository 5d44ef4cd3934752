#include "vel/hdf/hdf_Object.h"

#include <string>
#include <utility>

#include "hdf/hdf_Here.h"
#include "vel/hdf/hdf_Attribute.h"
#include "vel/hdf/hdf_Dataspace.h"
#include "vel/hdf/hdf_Datatype.h"

namespace {
const char kHdfUnit[] = "hdf_Object";
}

hdf_Object::hdf_Object(const hdf_Object& other)
    : m_ObjectID(other.m_ObjectID), m_error(other.m_error) {
    if (m_ObjectID >= 0 && H5Iinc_ref(m_ObjectID) < 0) {
        m_ObjectID = -1;
        throw hdf_Exception(HDF_HERE, true);
    }
}

hdf_Object::hdf_Object(hdf_Object&& other) noexcept
    : m_ObjectID(other.m_ObjectID), m_error(std::move(other.m_error)) {
    other.m_ObjectID = -1;
}

// Two objects on one identifier already share its reference: no count changes.
hdf_Object& hdf_Object::operator=(const hdf_Object& other) {
    m_noThrow = false;
    if (this == &other) return *this;
    if (m_ObjectID == other.m_ObjectID) {
        m_error = other.m_error;
        return *this;
    }
    Nullify();
    if (other.m_ObjectID >= 0 && H5Iinc_ref(other.m_ObjectID) < 0)
        throw hdf_Exception(HDF_HERE, true);
    m_ObjectID = other.m_ObjectID;
    m_error = other.m_error;
    return *this;
}

hdf_Object& hdf_Object::operator=(hdf_Object&& other) {
    m_noThrow = false;
    if (this == &other) return *this;
    if (m_ObjectID == other.m_ObjectID) {
        // Two references to one identifier: the moved-from one goes.
        m_error = std::move(other.m_error);
        other.Nullify();
        return *this;
    }
    Nullify();
    m_ObjectID = other.m_ObjectID;
    m_error = std::move(other.m_error);
    other.m_ObjectID = -1;
    return *this;
}

hdf_Object::~hdf_Object() {
    Release(false);
}

void hdf_Object::Nullify() {
    Release(true);
}

// The failure is made only when there is one: objects are released by the hundred at every open.
void hdf_Object::Release(bool throwFailure) {
    if (m_ObjectID < 0) return;
    const hid_t id = m_ObjectID;
    m_ObjectID = -1;
    if (H5Idec_ref(id) >= 0) return;
    // An identifier HDF5 no longer knows (HDF5 was closed under it) has nothing left to drop.  A
    // close that failed leaves the identifier known, so the failure is told apart from it after
    // the fact (asked first, the question would cost every release an HDF5 call), and its error
    // stack is taken before the question clears it.
    const hdf_Exception failure(HDF_HERE, true);
    if (H5Iget_ref(id) <= 0) {
        H5Eclear();
        return;
    }
    if (throwFailure) throw failure;
}

hdf_Exception hdf_Object::GetError() {
    const hdf_Exception previous = m_error ? *m_error : hdf_Exception();
    m_error = std::make_shared<const hdf_Exception>(HDF_HERE, true);
    return previous;
}

void hdf_Object::FailEmpty() {
    throw nex_AssertException(HDF_HERE, "m_ObjectID >= 0");
}

void hdf_Object::Fail(const char* unit, int line) const {
    Fail(hdf_Exception(unit, line, true));
}

void hdf_Object::Fail(const hdf_Exception& error) const {
    if (!m_noThrow) error.Propagate();
    m_error = std::make_shared<const hdf_Exception>(error);
}

cow_String hdf_Object::NameInFile(size_t guess) const {
    size_t size = guess;
    for (;;) {
        std::string name(size, '\0');
        const ssize_t length = H5Iget_name(ID(), size ? &name[0] : nullptr, size);
        if (!Succeeded(length, HDF_HERE)) return cow_String();
        if (static_cast<size_t>(length) < size) {
            name.resize(static_cast<size_t>(length));
            return cow_String(std::move(name));
        }
        size = static_cast<size_t>(length) + 1;
    }
}

hdf_Attribute hdf_Object::CreateAttribute(const char* name, const hdf_Datatype& type,
                                          const hdf_Dataspace& space) const {
    const hid_t id = H5Acreate(ID(), name, type.ID(), space.ID(), H5P_DEFAULT);
    return Succeeded(id, HDF_HERE) ? hdf_Attribute(id) : hdf_Attribute();
}

hdf_Attribute hdf_Object::OpenAttribute(const char* name) const {
    const hid_t id = H5Aopen_name(ID(), name);
    return Succeeded(id, HDF_HERE) ? hdf_Attribute(id) : hdf_Attribute();
}
