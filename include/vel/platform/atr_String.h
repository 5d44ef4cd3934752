#ifndef VEL_PLATFORM_ATR_STRING_H
#define VEL_PLATFORM_ATR_STRING_H

#include <ostream>
#include <string>

#include "vel/VelExport.h"

// An accumulating text buffer, filled piece by piece with formatted output.
class VEL_API atr_String {
public:
    atr_String() = default;
    explicit atr_String(const char* text) : m_text(text ? text : "") {}

    void Append(const char* text) { m_text += text ? text : ""; }
    void Clear() { m_text.clear(); }
    const char* c_str() const { return m_text.c_str(); }
    int Length() const { return static_cast<int>(m_text.size()); }
    const std::string& str() const { return m_text; }

    friend std::ostream& operator<<(std::ostream& os, const atr_String& s) {
        return os << s.m_text;
    }

private:
    friend void atr_translate(atr_String& target, const char* format, ...);
    std::string m_text;
};

// Appends printf-style formatted text to `target`.
VEL_API void atr_translate(atr_String& target, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

#endif
