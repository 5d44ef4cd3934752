#ifndef VEL_TESTS_VIEWS_VELVIEWSTESTSUPPORT_H
#define VEL_TESTS_VIEWS_VELVIEWSTESTSUPPORT_H

// A database with a schema for the views tests: the library started, a parsed form "Plant" at
// levels 1 and 2, and a context that can be closed and reopened.

#include <gtest/gtest.h>

#include "VelTestSupport.h"
#include "vel/UTI_VelDynamicAPI.h"
#include "vel/context/VelContextRef.h"
#include "vel/context/VelManager.h"
#include "vel/types/VelTypeFormManager.h"
#include "vel/views/VelSelection.h"
#include "vel/views/VelTransaction.h"
#include "vel/views/VelView.h"

// Member positions of Part (members sorted by name) and its symbolic constant's numbers.
enum PartMember { kB, kD, kF, kI, kK, kL, kO, kS, kT, kTorque };
enum SymbolOf { kA = 0, kSymB = 1, kC = 2 };

inline const char* PlantSchema() {
    return R"(<qarn><form name="Plant">
  <datarecord name="Part" level="1">
    <bool name="b" default="true"/><octet name="o" default="7"/><short name="s" default="-3"/>
    <int name="i" default="42"/><int64 name="l" default="-5"/><float name="f" default="1.5"/>
    <double name="d" default="2.25"/><string name="t" default="none"/>
    <symconst name="k" default="B">
      <enumeration value="C"/><enumeration value="A"/><enumeration value="B"/>
    </symconst>
  </datarecord>
  <datarecord name="Bolt" level="1"><base ref="Part"/><double name="torque"/></datarecord>
  <association name="Assembly" level="1">
    <data roleName="parent" maxOccurs="1"><target ref="Part"/></data>
    <data roleName="parts" maxOccurs="unbounded" ordered="true"><target ref="Part"/></data>
  </association>
  <association name="Labels" level="1">
    <data roleName="label" keyType="string" maxOccurs="unbounded"><target ref="Part"/></data>
    <data roleName="owner" maxOccurs="unbounded"><target ref="Part"/></data>
  </association>
  <association name="Catalog" level="1">
    <focus roleName="root"/>
    <data roleName="items" maxOccurs="unbounded"><target ref="Bolt"/></data>
  </association>
  <association name="Results" level="1">
    <data roleName="case" maxOccurs="unbounded"><target ref="Part"/></data>
    <distribution roleName="values" minOccurs="1" maxOccurs="2"/>
  </association>
  <association name="Pairing" level="1">
    <data roleName="a" minOccurs="2" maxOccurs="unbounded"><target ref="Part"/></data>
    <data roleName="b" maxOccurs="unbounded"><target ref="Part"/></data>
  </association>
  <association name="Regions" level="1">
    <data roleName="members" maxOccurs="unbounded" ordered="true"><target ref="Part"/></data>
    <cset roleName="nodes" maxOccurs="unbounded"/>
  </association>
  <datarecord name="Extra" level="2"><int name="n" default="9"/></datarecord>
  <datarecord name="Bolt" level="3"><base ref="Part"/><double name="torque"/><int name="grade"/></datarecord>
</form>
<form name="Other"><datarecord name="O" level="1"><int name="x"/></datarecord></form>
<form name="Site">
  <dependency level="1"><include form="Plant" level="1"/></dependency>
  <datarecord name="Location" level="1"><string name="where"/></datarecord>
</form></qarn>)";
}

// Integer member `member` of a record.
inline int IntOf(const VelDataRecord& record, int member) {
    int value = 0;
    record.GetInt(member, value);
    return value;
}

class VelViewsTest : public ::testing::Test {
protected:
    void SetUp() override {
        UTI_VelDynamicAPI_initialize(m_modules);
        m_forms.Get().ParseQARN(PlantSchema());
        m_form = m_forms.Get().GetForm("Plant");
        m_context = VelManager::CreateContext(m_file.c_str(), hdf_File::CreateFlagsTruncate, 1);
    }
    void TearDown() override {
        VelManager::CloseContext(m_context);
        UTI_VelDynamicAPI_finalize(m_modules);
    }

    VelTypeSchemaSnapshot Snapshot(int level) const {
        return m_forms.Get().GetSchemaSnapshot(m_form, level);
    }
    VelTypeSchemaSnapshot SnapshotOf(const char* form) const {
        return m_forms.Get().GetSchemaSnapshot(m_forms.Get().GetForm(form), 1);
    }
    VelTypeID TypeOf(const char* name) const { return m_form.GetTypeID(name); }
    VelContextRef Context() const { return VelContextRef(m_context); }
    // An identifier of an earlier session in the context as it is open now: identifiers carry
    // the context's value, which a reopen changes.
    VelDynamicID Here(const VelDynamicID& id) const {
        return VelDynamicID(id.Category(), m_context.Value(), id.First(), id.Second());
    }
    void Reopen() {
        VelManager::CloseContext(m_context);
        m_context = VelManager::OpenContext(m_file.c_str(), hdf_File::OpenFlagsReadWrite, 1);
        ASSERT_FALSE(m_context.IsNull());
    }

    // A published level-1 view with its types and nothing else.
    VelViewUpdateForm PublishedTypes() {
        VelViewUpdateForm view = Context().NewForm(Snapshot(1));
        {
            VelTransactionExtend t(view);
            t.CreateTypes(Snapshot(1));
            t.Commit();
        }
        view.Publish();
        return view;
    }

    int m_modules = 0;
    VelTypeFormManagerHolder m_forms = VelTypeFormManager::New();
    VelTypeForm m_form;
    VelTempFile m_file{"views"};
    VelContextID m_context;
};

#endif
