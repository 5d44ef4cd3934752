#include "vel/types/VelTypesForm.h"

// The schema of the records that describe record types.  A type registry stores every record
// type of a database as records of these types, so this text fixes the persistent layout of
// type definitions: changing a member, a name or a level here changes that layout.  All types
// are at level 1.  The namespace and schema location of the root element are not read.
const char* VelTypesForm::Text() {
    return R"QARN(<?xml version="1.0" encoding="UTF-8"?>
<qarn xmlns="urn:vel:qarn:1.0"
      xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance"
      xsi:schemaLocation="urn:vel:qarn:1.0 qarn-1.0.xsd">
  <form name="Types">

    <!-- This record represents an association -->
    <datarecord name="AssociationType" level="1">
      <documentation type="text/plain"></documentation>
      <string name="typeID"/>
    </datarecord>

    <!-- This record represents a data record type -->
    <datarecord name="DataRecordType" level="1">
      <documentation type="text/plain"></documentation>
      <string name="typeID"/>
    </datarecord>

    <!-- This record represents a participant in an association relationship -->
    <datarecord name="AssociationMember" level="1">
      <documentation type="text/plain"></documentation>
      <string name="roleName"/>
      <symconst name="keyType" default="NONE">
        <enumeration value="NONE"/>
        <enumeration value="STRING"/>
      </symconst>
      <bool name="ordered" default="false"/>
      <int name="minOccurs" default="0"/>
      <int name="maxOccurs" default="1"/>
    </datarecord>

    <datarecord name="CollectionRef" level="1">
      <documentation type="text/plain"></documentation>
      <base ref="AssociationMember"/>
    </datarecord>

    <datarecord name="DistributionRef" level="1">
      <documentation type="text/plain"></documentation>
      <base ref="AssociationMember"/>
    </datarecord>

    <datarecord name="DSetRef" level="1">
      <documentation type="text/plain"></documentation>
      <base ref="AssociationMember"/>
    </datarecord>

    <datarecord name="CSetRef" level="1">
      <documentation type="text/plain"></documentation>
      <base ref="AssociationMember"/>
    </datarecord>

    <datarecord name="DrawerRef" level="1">
      <documentation type="text/plain"></documentation>
      <base ref="AssociationMember"/>
    </datarecord>

    <datarecord name="GridRef" level="1">
      <documentation type="text/plain"></documentation>
      <base ref="AssociationMember"/>
    </datarecord>

    <datarecord name="CompartmentRef" level="1">
      <documentation type="text/plain"></documentation>
      <base ref="AssociationMember"/>
    </datarecord>

    <datarecord name="IndexSetRef" level="1">
      <documentation type="text/plain"></documentation>
      <base ref="AssociationMember"/>
    </datarecord>

    <datarecord name="PermutationRef" level="1">
      <documentation type="text/plain"></documentation>
      <base ref="AssociationMember"/>
    </datarecord>

    <datarecord name="DataRecordRef" level="1">
      <documentation type="text/plain"></documentation>
      <base ref="AssociationMember"/>
    </datarecord>

    <datarecord name="ViewFocusRef" level="1">
      <documentation type="text/plain"></documentation>
      <base ref="AssociationMember"/>
    </datarecord>

    <!-- The following records define various types that may appear in data records -->
    <datarecord name="BoolMember" level="1">
      <documentation type="text/plain"></documentation>
      <string name="name"/>
      <bool name="default" default="false"/>
    </datarecord>

    <datarecord name="OctetMember" level="1">
      <documentation type="text/plain"></documentation>
      <string name="name"/>
      <octet name="default" default="0"/>
    </datarecord>

    <datarecord name="ShortMember" level="1">
      <documentation type="text/plain"></documentation>
      <string name="name"/>
      <short name="default" default="0"/>
    </datarecord>

    <datarecord name="IntMember" level="1">
      <documentation type="text/plain"></documentation>
      <string name="name"/>
      <int name="default" default="0"/>
    </datarecord>

    <datarecord name="Int64Member" level="1">
      <documentation type="text/plain"></documentation>
      <string name="name"/>
      <int64 name="default" default="0"/>
    </datarecord>

    <datarecord name="FloatMember" level="1">
      <documentation type="text/plain"></documentation>
      <string name="name"/>
      <string name="dimension" default=""/>
      <float name="default" default="0"/>
    </datarecord>

    <datarecord name="DoubleMember" level="1">
      <documentation type="text/plain"></documentation>
      <string name="name"/>
      <string name="dimension" default=""/>
      <double name="default" default="0"/>
    </datarecord>

    <datarecord name="StringMember" level="1">
      <documentation type="text/plain"></documentation>
      <string name="name"/>
      <string name="default" default=""/>
    </datarecord>

    <datarecord name="SymConstMember" level="1">
      <documentation type="text/plain"></documentation>
      <string name="name"/>
      <int name="limit" default="1"/>
      <int name="default" default="0"/>
    </datarecord>

    <!-- Association that gathers all types in the view. -->
    <association name="AllTypes" level="1">
      <documentation type="text/plain"></documentation>
      <focus roleName="root"/>
      <data roleName="forms" minOccurs="0" maxOccurs="unbounded">
        <target ref="AssociationType"/>
        <target ref="DataRecordType"/>
      </data>
    </association>

    <!-- Base class association for data members -->
    <association name="DataRecordBaseType" level="1">
      <documentation type="text/plain"></documentation>
      <data roleName="derived" minOccurs="0" maxOccurs="unbounded">
        <target ref="DataRecordType"/>
      </data>
      <data roleName="base" minOccurs="0" maxOccurs="1">
        <target ref="DataRecordType"/>
      </data>
    </association>

    <!-- Members of a data record -->
    <association name="DataRecordMembers" level="1">
      <documentation type="text/plain"></documentation>
      <data roleName="owner" minOccurs="1" maxOccurs="1">
        <target ref="DataRecordType"/>
      </data>
      <data roleName="members" minOccurs="0" maxOccurs="unbounded" ordered="true">
        <target ref="BoolMember"/>
        <target ref="OctetMember"/>
        <target ref="ShortMember"/>
        <target ref="IntMember"/>
        <target ref="Int64Member"/>
        <target ref="FloatMember"/>
        <target ref="DoubleMember"/>
        <target ref="StringMember"/>
        <target ref="SymConstMember"/>
      </data>
    </association>

    <!-- Participants in an association relationship -->
    <association name="AssociationFirstMember" level="1">
      <documentation type="text/plain"></documentation>
      <data roleName="association" minOccurs="0" maxOccurs="unbounded">
        <target ref="AssociationType"/>
      </data>
      <data roleName="member" minOccurs="1" maxOccurs="1">
        <target ref="CollectionRef"/>
        <target ref="DistributionRef"/>
        <target ref="DSetRef"/>
        <target ref="CSetRef"/>
        <target ref="DrawerRef"/>
        <target ref="GridRef"/>
        <target ref="CompartmentRef"/>
        <target ref="IndexSetRef"/>
        <target ref="PermutationRef"/>
        <target ref="DataRecordRef"/>
        <target ref="ViewFocusRef"/>
      </data>
    </association>

    <association name="AssociationSecondMember" level="1">
      <documentation type="text/plain"></documentation>
      <data roleName="association" minOccurs="0" maxOccurs="unbounded">
        <target ref="AssociationType"/>
      </data>
      <data roleName="member" minOccurs="1" maxOccurs="1">
        <target ref="CollectionRef"/>
        <target ref="DistributionRef"/>
        <target ref="DSetRef"/>
        <target ref="CSetRef"/>
        <target ref="DrawerRef"/>
        <target ref="GridRef"/>
        <target ref="CompartmentRef"/>
        <target ref="IndexSetRef"/>
        <target ref="PermutationRef"/>
        <target ref="DataRecordRef"/>
        <target ref="ViewFocusRef"/>
      </data>
    </association>

    <!-- Target types of an association member -->
    <association name="DataRecordRefTargetTypes" level="1">
      <documentation type="text/plain"></documentation>
      <data roleName="members" minOccurs="0" maxOccurs="unbounded">
        <target ref="DataRecordRef"/>
      </data>
      <data roleName="targetTypes" minOccurs="0" maxOccurs="unbounded">
        <target ref="DataRecordType"/>
      </data>
    </association>

  </form>
</qarn>
)QARN";
}
