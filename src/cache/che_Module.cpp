#include "vel/cache/che_Module.h"

#include "vel/platform/UTI_Modules.h"

namespace {
int g_cheStarts = 0;
}

void che_initialize(int& count) {
    UTI_ModuleStarting(g_cheStarts, count);
}
void che_finalize(int& count) {
    UTI_ModuleStopping(g_cheStarts, count);
}
