#include "vel/context/dpa_Module.h"

#include "vel/platform/UTI_Modules.h"

namespace {
int g_dpaStarts = 0;
}

void dpa_initialize(int& count) { UTI_ModuleStarting(g_dpaStarts, count); }
void dpa_finalize(int& count) { UTI_ModuleStopping(g_dpaStarts, count); }
