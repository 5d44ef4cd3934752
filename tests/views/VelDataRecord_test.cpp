// Data records: every member category written, committed and read back after the context is
// reopened; defaults, inherited members, strings through the string table; the category checks
// and the one-sided symbolic-constant check.
#include <string>
#include <tuple>

#include "VelViewsTestSupport.h"

namespace {

using VelDataRecordTest = VelViewsTest;
using VelDataRecordDeathTest = VelViewsTest;

// Member `i` of `record` through its getter.
template <class T>
T Get(const VelDataRecord& record, int i, void (VelDataRecord::*getter)(int, T&) const) {
    T value{};
    (record.*getter)(i, value);
    return value;
}

// Every member of a Part, in member order, the octet as an int.
std::tuple<bool, int, short, int, long long, float, double, int, std::string> Members(
    const VelDataRecord& part) {
    return {Get(part, kB, &VelDataRecord::GetBool),
            Get(part, kO, &VelDataRecord::GetOctet),
            Get(part, kS, &VelDataRecord::GetShort),
            Get(part, kI, &VelDataRecord::GetInt),
            Get(part, kL, &VelDataRecord::GetInt64),
            Get(part, kF, &VelDataRecord::GetFloat),
            Get(part, kD, &VelDataRecord::GetDouble),
            Get(part, kK, &VelDataRecord::GetSymb),
            part.ReturnString(kT).str()};
}

TEST_F(VelDataRecordTest, EveryCategoryRoundTripsThroughReopen) {
    VelDynamicID partID, boltID, defaultID;
    {
        VelViewUpdateForm view = Context().NewForm(Snapshot(1));
        VelTransactionExtend t(view);
        t.CreateTypes(Snapshot(1));
        const VelDataRecordUpdate part = t.CreateDataRecord(TypeOf("Part"));
        part.SetBool(kB, false);
        part.SetOctet(kO, 250);
        part.SetShort(kS, -32768);
        part.SetInt(kI, -2147483647);
        part.SetInt64(kL, 0x123456789ABCDEFll);
        part.SetFloat(kF, -0.125f);
        part.SetDouble(kD, 6.02214076e23);
        part.SetString(kT, "bracket \xc3\xa9 left");
        part.SetSymb(kK, kC);
        const VelDataRecordUpdate bolt = t.CreateDataRecord(TypeOf("Bolt"));
        bolt.SetDouble(kTorque, 17.5);
        bolt.SetString(kT, "M12");
        defaultID = t.CreateDataRecord(TypeOf("Part")).ID();
        partID = part.ID();
        boltID = bolt.ID();
        t.Commit();
        view.Publish();
    }
    Reopen();
    partID = Here(partID);
    boltID = Here(boltID);
    defaultID = Here(defaultID);
    const VelViewRead view = Context().View(Snapshot(1));
    const VelDataRecord part = view.DataRecord(partID);
    EXPECT_EQ(Members(part),
              std::make_tuple(false, 250, -32768, -2147483647, 0x123456789ABCDEFll, -0.125f,
                              6.02214076e23, int(kC), std::string("bracket \xc3\xa9 left")));
    EXPECT_EQ(part.TypeID(), TypeOf("Part"));
    EXPECT_EQ(part.MemberCount(), 9);
    EXPECT_EQ(part.MemberCategory(kK), VelRecTypeCategorySymConst);

    // A derived record: the base's members first, then its own.
    const VelDataRecord bolt = view.DataRecord(boltID);
    EXPECT_EQ(bolt.MemberCount(), 10);
    EXPECT_EQ(bolt.Member(kTorque).Name(), "torque");
    EXPECT_TRUE(bolt.IsA(TypeOf("Part")));
    EXPECT_FALSE(part.IsA(TypeOf("Bolt")));
    EXPECT_EQ(Get(bolt, kTorque, &VelDataRecord::GetDouble), 17.5);
    EXPECT_EQ(bolt.ReturnString(kT), "M12");
    EXPECT_EQ(view.Type(boltID).TypeID(), TypeOf("Bolt"));

    // A record never set holds the schema's defaults.
    EXPECT_EQ(Members(view.DataRecord(defaultID)),
              std::make_tuple(true, 7, -3, 42, -5ll, 1.5f, 2.25, int(kSymB), std::string("none")));

    const VelArray<VelDynamicID> parts = view.DataRecordIDs(TypeOf("Part"));
    ASSERT_EQ(parts.Size(), 2);
    EXPECT_EQ(parts[0], partID);
    EXPECT_EQ(parts[1], defaultID);
}

TEST_F(VelDataRecordDeathTest, AccessorsRequireTheMembersCategory) {
    const VelViewUpdateForm view = Context().NewForm(Snapshot(1));
    VelTransactionExtend t(view);
    t.CreateTypes(Snapshot(1));
    const VelDataRecordUpdate part = t.CreateDataRecord(TypeOf("Part"));
    int i = 0;
    unsigned char o = 0;
    ExpectValidateFailure(part.GetInt(kD, i), "memberType.Category() == VelRecTypeCategoryInteger");
    ExpectValidateFailure(part.GetOctet(kI, o), "memberType.Category() == VelRecTypeCategoryChar");
    ExpectValidateFailure(part.SetString(kB, "x"),
                          "memberType.Category() == VelRecTypeCategoryString");
    ExpectValidateFailure(part.SetSymb(kI, 0),
                          "memberType.Category() == VelRecTypeCategorySymConst");
    ExpectValidateFailure(part.GetInt(kTorque, i), "i >=0 && i < m_Size");
    ExpectAssertFailure(VelDataRecord().ID(), "m_Target");

    // The symbolic constant's check is one-sided: below the limit, negative numbers included.
    ExpectValidateFailure(part.SetSymb(kK, 3), "data < symMemberType.LimitValue()");
    part.SetSymb(kK, -1);
    EXPECT_EQ(Get(part, kK, &VelDataRecord::GetSymb), -1);
}

// A committed record: still readable, no longer writable, changed again only through a new
// transaction, and found only by its own identifier.
TEST_F(VelDataRecordDeathTest, ACommittedRecordIsReadOnlyAndFoundOnlyByItsIdentifier) {
    const VelViewUpdateForm view = Context().NewForm(Snapshot(1));
    VelDataRecordUpdate part;
    {
        VelTransactionExtend t(view);
        t.CreateTypes(Snapshot(1));
        part = t.CreateDataRecord(TypeOf("Part"));
        part.SetString(kT, "first");
        t.Commit();
    }
    EXPECT_EQ(part.ReturnString(kT), "first");
    ExpectValidateFailure(part.SetInt(kI, 1),
                          "m_Token && m_Token->m_Active && \"The record's transaction has ended\"");

    const VelDynamicID id = part.ID();
    const VelDynamicID otherSerial(id.Category(), id.Context(), id.First() + 1, id.Second());
    const VelDynamicID pastTheEnd(id.Category(), id.Context(), id.First(), id.Second() + 1);
    const VelDynamicID noSlot(id.Category(), id.Context(), id.First(), int64_t(1000) << 32);
    const VelDynamicID otherContext(id.Category(), id.Context() + 1, id.First(), id.Second());
    ExpectValidateFailure(
        view.DataRecord(otherSerial),
        "static_cast<int64_t>(VelRecordBytes::Get64(bytes)) == id.First() && \"Record not found\"");
    ExpectValidateFailure(view.DataRecord(pastTheEnd), "row < s.m_Rows && \"Record not found\"");
    const std::string noSuchSlot =
        "address >= 0 && (address >> 32) < static_cast<int64_t>(m_slots.size()) && "
        "m_slots[static_cast<size_t>(address >> 32)].m_Category == VelCategoryDataRecord && "
        "\"Record not found\"";
    ExpectValidateFailure(view.DataRecord(noSlot), noSuchSlot);
    ExpectValidateFailure(view.DataRecord(view.FocusID()), noSuchSlot);
    ExpectValidateFailure(view.DataRecord(otherContext),
                          "id.Category() == VelCategoryDataRecord && id.Context() == m_context && "
                          "\"The identifier names no data record of this context\"");

    // A read handle never writes.
    VelTransactionExtend t(view);
    const VelDataRecordUpdate again = t.ModifyDataRecord(id);
    again.SetString(kT, "second");
    EXPECT_EQ(t.ModifyDataRecord(id).ReturnString(kT), "second");
    t.Commit();
    EXPECT_EQ(view.DataRecord(id).ReturnString(kT), "second");
}

}  // namespace
