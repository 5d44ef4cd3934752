#include "context/VelStorageGuard.h"

#include "context/VelManagerAccess.h"
#include "vel/core/VelAssert.h"
#include "vel/platform/aio_Stream.h"

void VelPrintStorageFailure(const hdf_Exception& e) {
    aio_cout << e.AsString() << '\n';
    aio_cout.flush();
}

void VelStorageFailure(const hdf_Exception& e, const char* condition) {
    VelPrintStorageFailure(e);
    if (VelAssert::FailurePolicy() == VelThrowOnFailure) VelManagerAccess::AbandonCurrent();
    VelAssert::FailAssertion(condition);
}
