// Bytes as schema text: the reader must take them or refuse them, never crash; what it takes must
// give a snapshot of every form it read.
#include <cstdint>
#include <string>

#include "VelFuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static VelFuzzLibrary library;
    const std::string text(reinterpret_cast<const char*>(data), size);
    try {
        const VelTypeFormManagerHolder forms = VelTypeFormManager::New();
        forms.Get().ParseQARN(cow_String(text.c_str()));
        for (const char* name : {"Analysis", "A", "F", "Form"}) {
            const VelTypeForm form = forms.Get().GetForm(name);
            if (form) forms.Get().GetSchemaSnapshot(form, 0);
        }
    } catch (const VelFailure&) {
    }
    return 0;
}
