#include "vel/context/dpa_Module.h"

#include "context/VelManagerAccess.h"
#include "vel/platform/UTI_Modules.h"

namespace {
int g_dpaStarts = 0;
}

void dpa_initialize(int& count) {
    if (UTI_ModuleStarting(g_dpaStarts, count)) VelManagerAccess::Start();
}

void dpa_finalize(int& count) {
    if (UTI_ModuleStopping(g_dpaStarts, count)) VelManagerAccess::Shut();
}
