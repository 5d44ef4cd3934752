#include "vel/platform/atr_String.h"

#include <cstdarg>
#include <cstdio>
#include <vector>

void atr_translate(atr_String& target, const char* format, ...) {
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    const int needed = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (needed > 0) {
        std::vector<char> buffer(static_cast<size_t>(needed) + 1);
        std::vsnprintf(buffer.data(), buffer.size(), format, args);
        target.m_text.append(buffer.data(), static_cast<size_t>(needed));
    }
    va_end(args);
}
