#include "vel/platform/UTI_Modules.h"

// The utility services need no set-up of their own beyond what the C++ runtime provides; the
// entries keep their counters so that start and stop are counted like every other module.

namespace {
int g_coreUtilsStarts = 0;
int g_basicUtilsStarts = 0;
int g_xmlParserStarts = 0;
}  // namespace

void UTI_CoreUtils_initialize(int& count) {
    UTI_ModuleStarting(g_coreUtilsStarts, count);
}
void UTI_CoreUtils_finalize(int& count) {
    UTI_ModuleStopping(g_coreUtilsStarts, count);
}
void UTI_BasicUtils_initialize(int& count) {
    UTI_ModuleStarting(g_basicUtilsStarts, count);
}
void UTI_BasicUtils_finalize(int& count) {
    UTI_ModuleStopping(g_basicUtilsStarts, count);
}
void UTI_XmlParser_initialize(int& count) {
    UTI_ModuleStarting(g_xmlParserStarts, count);
}
void UTI_XmlParser_finalize(int& count) {
    UTI_ModuleStopping(g_xmlParserStarts, count);
}
