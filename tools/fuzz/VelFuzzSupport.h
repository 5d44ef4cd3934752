#ifndef VEL_TOOLS_FUZZ_VELFUZZSUPPORT_H
#define VEL_TOOLS_FUZZ_VELFUZZSUPPORT_H

// What the fuzz targets share: the library started once for the whole run, with the failure
// policy that turns every refusal into a VelFailure the target catches.  A target must return
// for every input; anything else (a crash, a sanitizer report, a leak, a VelFailure escaping) is
// a finding.
#include <vel/vel.h>

struct VelFuzzLibrary {
    VelFuzzLibrary() {
        UTI_VelDynamicAPI_initialize(modules);
        VelAssert::SetFailurePolicy(VelThrowOnFailure);
    }
    ~VelFuzzLibrary() { UTI_VelDynamicAPI_finalize(modules); }
    int modules = 0;
};

#endif
