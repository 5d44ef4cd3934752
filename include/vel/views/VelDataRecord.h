#ifndef VEL_VIEWS_VELDATARECORD_H
#define VEL_VIEWS_VELDATARECORD_H

#include <cstdint>

#include "vel/VelExport.h"
#include "vel/context/VelDynamicID.h"
#include "vel/platform/cow_String.h"
#include "vel/types/VelRecHandle.h"
#include "vel/types/VelRecType.h"

class VelDataRecordRepr;
struct VelViewsAccess;

// Read access to one data record: its identifier, its type and its members, addressed by
// position in the flattened member list of the type (base members first).  Each getter requires
// the member to be of its category; a string member resolves its reference through the
// context's string table.  A default handle is bound to nothing, and every operation asserts
// "m_Target".  Handles share the record.
class VEL_API VelDataRecord {
public:
    VelDataRecord() = default;

    VelDynamicID ID() const;
    VelRecTypeDataRecord Type() const;
    VelTypeID TypeID() const;
    // Whether the record's type is `typeID` or derives from it.
    bool IsA(const VelTypeID& typeID) const;

    int MemberCount() const;
    VelRecTypeDataRecordMember Member(int i) const;
    VelRecTypeDataCategory MemberCategory(int i) const;

    void GetBool(int i, bool& value) const;
    void GetOctet(int i, unsigned char& value) const;
    void GetShort(int i, short& value) const;
    void GetInt(int i, int& value) const;
    void GetInt64(int i, int64_t& value) const;
    void GetFloat(int i, float& value) const;
    void GetDouble(int i, double& value) const;
    void GetString(int i, cow_String& value) const;
    void GetSymb(int i, int& value) const;
    cow_String ReturnString(int i) const;

protected:
    friend struct VelViewsAccess;
    explicit VelDataRecord(const VelRecHandle<VelDataRecordRepr>& target);
    VelDataRecordRepr& Target() const;

    VelRecHandle<VelDataRecordRepr> m_Target;
};

// Read and write access to a data record of an active transaction.  The setters change the
// record, not the handle; the changes reach the file when the transaction commits.  Setting a
// member after the transaction has ended is refused.
class VEL_API VelDataRecordUpdate : public VelDataRecord {
public:
    VelDataRecordUpdate() = default;

    void SetBool(int i, bool value) const;
    void SetOctet(int i, unsigned char value) const;
    void SetShort(int i, short value) const;
    void SetInt(int i, int value) const;
    void SetInt64(int i, int64_t value) const;
    void SetFloat(int i, float value) const;
    void SetDouble(int i, double value) const;
    void SetString(int i, const cow_String& value) const;
    // Requires `data` below the member's limit; a negative number is stored as it is.
    void SetSymb(int i, int data) const;

private:
    friend struct VelViewsAccess;
    explicit VelDataRecordUpdate(const VelRecHandle<VelDataRecordRepr>& target)
        : VelDataRecord(target) {}
};

#endif
