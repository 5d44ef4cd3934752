#ifndef VEL_SRC_VIEWS_VELVIEWSACCESS_H
#define VEL_SRC_VIEWS_VELVIEWSACCESS_H

#include "vel/views/VelAssociation.h"
#include "vel/views/VelDataRecord.h"
#include "vel/views/VelView.h"
#include "views/VelRecordRepr.h"
#include "views/VelViewRepr.h"

// The library's own way between the public handles of the views area and their
// representations.
struct VelViewsAccess {
    static VelDataRecord Record(const VelRecHandle<VelDataRecordRepr>& repr) {
        return VelDataRecord(repr);
    }
    static VelDataRecordUpdate RecordUpdate(const VelRecHandle<VelDataRecordRepr>& repr) {
        return VelDataRecordUpdate(repr);
    }
    static VelAssociation Association(const VelRecHandle<VelAssociationRepr>& repr) {
        return VelAssociation(repr);
    }
    static VelAssociationUpdate AssociationUpdate(const VelRecHandle<VelAssociationRepr>& repr) {
        return VelAssociationUpdate(repr);
    }
    static VelAssociationRepr& Repr(const VelAssociation& association) {
        return association.Target();
    }

    template <class View>
    static View MakeView(const VelRecHandle<VelViewRepr>& repr) {
        return View(repr);
    }
    static const VelRecHandle<VelViewRepr>& Handle(const VelView& view) {
        view.Repr();
        return view.m_Repr;
    }
};

#endif
