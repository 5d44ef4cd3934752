// An open database (context) and the handles on its objects, shared by the bulk-data and the
// record bindings.
#ifndef VEL_PYTHON_VELPYCONTEXT_H
#define VEL_PYTHON_VELPYCONTEXT_H

#include <memory>
#include <string>
#include <vector>

#include "VelPy.h"

// Owns one context of the library, which it starts for as long as it lives (nested in the
// module's own start).  Handles keep it alive; after Close every handle's use is refused by
// the library, since its identifiers then name a closed context.
class VelPyContext {
public:
    VelPyContext(const std::string& path, bool create, bool writable);
    ~VelPyContext();
    VelPyContext(const VelPyContext&) = delete;
    VelPyContext& operator=(const VelPyContext&) = delete;

    void Close();
    const VelContextID& ID() const { return m_id; }
    const std::string& Path() const { return m_path; }
    bool IsOpen() const { return !m_id.IsNull(); }
    // Refuses with vel.VelError once the context is closed.
    VelContextRef Ref() const;

    // The stored CSets of a collection: ascending ones, and permutation CSets by their own ID
    // (the ascending twin the library keeps for each permutation is not listed).
    std::vector<VelCSetID> StoredCSets(const VelCollectionID& collection) const;

private:
    void Open(bool create, bool writable);

    int m_modules = 0;
    std::string m_path;
    VelContextID m_id;
};

using VelPyContextPtr = std::shared_ptr<VelPyContext>;

// A handle on one object of a context.
template <class ID>
struct VelPyHandle {
    VelPyContextPtr context;
    ID id;
};

using VelPyCollection = VelPyHandle<VelCollectionID>;
using VelPyCSet = VelPyHandle<VelCSetID>;
using VelPyDistribution = VelPyHandle<VelDistributionID>;
using VelPyDrawer = VelPyHandle<VelDrawerID>;
using VelPyDSet = VelPyHandle<VelDSetID>;

// The Python object of a bulk-data identifier (a collection, CSet, distribution, drawer or
// DSet handle), or the identifier tuple for anything else.
py::object VelPyObjectOf(const VelPyContextPtr& context, const VelDynamicID& id);

#endif
