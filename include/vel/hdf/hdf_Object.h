#ifndef VEL_HDF_HDF_OBJECT_H
#define VEL_HDF_HDF_OBJECT_H

#include <hdf5.h>

#include <memory>

#include "vel/VelExport.h"
#include "vel/hdf/hdf_Exception.h"
#include "vel/platform/cow_String.h"

class hdf_Attribute;
class hdf_Dataspace;
class hdf_Datatype;

// The base of every storage wrapper: one HDF5 identifier, shared between copies through HDF5's
// own reference count.  Copies add a reference (H5Iinc_ref), releases remove one (H5Idec_ref);
// HDF5 closes the object with its last reference, so no wrapper ever calls a close function.
// An identifier of -1 means "none".
//
// A failing HDF5 call throws an hdf_Exception collected from HDF5's error stack, unless the
// object's no-throw flag is set: then the exception is kept as the object's error state and the
// operation returns normally.  The flag is clear after construction and after assignment.
class VEL_API hdf_Object {
public:
    hdf_Object() = default;
    // Takes over one reference the caller already holds.
    explicit hdf_Object(hid_t id) : m_ObjectID(id) {}
    // An empty object whose error state is `error`.
    explicit hdf_Object(const hdf_Exception& error)
        : m_error(std::make_shared<const hdf_Exception>(error)) {}
    hdf_Object(const hdf_Object& other);
    hdf_Object(hdf_Object&& other) noexcept;
    hdf_Object& operator=(const hdf_Object& other);
    hdf_Object& operator=(hdf_Object&& other);
    // Releases without throwing: a destructor has nowhere to send a failure.
    virtual ~hdf_Object();

    // The identifier, -1 when empty.
    hid_t GetID() const { return m_ObjectID; }
    bool IsEmpty() const { return m_ObjectID < 0; }
    // The identifier for a call into HDF5; an empty object raises the assertion exception
    // "m_ObjectID >= 0".
    hid_t ID() const {
        if (m_ObjectID < 0) FailEmpty();
        return m_ObjectID;
    }
    // Releases the reference; the object becomes empty.  A failing release throws.
    void Nullify();

    void SetNoThrow(bool noThrow) { m_noThrow = noThrow; }
    bool IsNoThrow() const { return m_noThrow; }
    // The error state so far; the state is replaced by one collected anew from HDF5's current
    // error stack (codes 0 when that stack is empty).
    hdf_Exception GetError();

protected:
    // True when an HDF5 result signals success (not negative); otherwise the failure is thrown
    // or parked, by the no-throw rule, and the result is false.
    template <class Result>
    bool Succeeded(Result result, const char* unit, int line) const {
        if (result >= 0) return true;
        Fail(unit, line);
        return false;
    }
    // Throws or parks a failure collected from HDF5's error stack.
    void Fail(const char* unit, int line) const;
    // Throws or parks `error`.
    void Fail(const hdf_Exception& error) const;

    // The object's name in its file (H5Iget_name).  `guess` is the buffer tried first; 0 asks
    // HDF5 for the length before taking the text.
    cow_String NameInFile(size_t guess) const;
    // Attributes of a group or a dataset.
    hdf_Attribute CreateAttribute(const char* name, const hdf_Datatype& type,
                                  const hdf_Dataspace& space) const;
    hdf_Attribute OpenAttribute(const char* name) const;

    hid_t m_ObjectID = -1;

private:
    [[noreturn]] static void FailEmpty();
    // Drops the reference; when H5Idec_ref fails, throws HDF5's failure if `throwFailure`.
    void Release(bool throwFailure);

    bool m_noThrow = false;
    // The error state; null while it is the empty one, so that the objects an open makes by the
    // hundred carry no exception of their own.  Shared between copies: it is never changed, only
    // replaced.
    mutable std::shared_ptr<const hdf_Exception> m_error;
};

#endif
