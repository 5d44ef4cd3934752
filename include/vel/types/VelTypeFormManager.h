#ifndef VEL_TYPES_VELTYPEFORMMANAGER_H
#define VEL_TYPES_VELTYPEFORMMANAGER_H

#include "vel/VelExport.h"
#include "vel/core/VelAutoPtr.h"
#include "vel/core/VelHolder.h"
#include "vel/platform/cow_String.h"
#include "vel/types/VelTypeForm.h"
#include "vel/types/VelTypeSchemaSnapshot.h"

class VelTypeFormManagerRepr;
class VelTypeFormManager;
struct VelTypesAccess;

// The manager is deleted out of line, so that its holder can live where the manager's
// representation is only declared.
template <>
struct VEL_API VelAutoPtrObjectOutline<VelTypeFormManagerRepr> {
    static void Delete(VelTypeFormManagerRepr* repr);
};

using VelTypeFormManagerHolder = VelHolder<VelTypeFormManagerRepr, VelTypeFormManager>;

// Holds the forms read from schema text, the dependencies between form schemas, and the cache of
// schema snapshots.  Every operation asserts "repr".
class VEL_API VelTypeFormManager : public VelWeakReference<VelTypeFormManagerRepr> {
public:
    VelTypeFormManager() = default;

    // A new, empty manager.
    static VelTypeFormManagerHolder New();

    // Reads a QARN document into the manager.  Forms of a name the manager already holds take
    // the new declarations.  A document that is not well-formed is read up to the point where it
    // stops being so, without a report; every violation of the language's rules is a validation
    // failure.  The handle does not change, the manager does.
    void ParseQARN(const cow_String& text) const;

    // The form of that name; an unbound form when the manager holds none.
    VelTypeForm GetForm(const cow_String& name) const;
    int FormCount() const;

    // The snapshot of `form` at `level` (0: the form's current level).  Snapshots are cached:
    // the same form and level give the same snapshot.
    VelTypeSchemaSnapshot GetSchemaSnapshot(const VelTypeForm& form, int level) const;

private:
    friend struct VelTypesAccess;
};

#endif
