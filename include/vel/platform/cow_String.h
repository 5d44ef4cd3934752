#ifndef VEL_PLATFORM_COW_STRING_H
#define VEL_PLATFORM_COW_STRING_H

#include <cstring>
#include <ostream>
#include <string>
#include <utility>

#include "vel/VelExport.h"

// The string value type of the whole public interface.  Keys compare byte by byte as unsigned
// characters, so the empty string sorts first.
class VEL_API cow_String {
public:
    cow_String() = default;
    cow_String(const char* text) : m_text(text ? text : "") {}
    cow_String(const char* text, size_t length) : m_text(text, length) {}
    cow_String(std::string text) : m_text(std::move(text)) {}

    const char* c_str() const { return m_text.c_str(); }
    int Length() const { return static_cast<int>(m_text.size()); }
    bool IsEmpty() const { return m_text.empty(); }
    bool Empty() const { return m_text.empty(); }
    const std::string& str() const { return m_text; }
    char operator[](int i) const { return m_text[static_cast<size_t>(i)]; }

    // Three-way comparison: negative, zero or positive.
    int Compare(const cow_String& other) const {
        return std::strcmp(m_text.c_str(), other.m_text.c_str());
    }

    cow_String& operator+=(const cow_String& other) {
        m_text += other.m_text;
        return *this;
    }
    cow_String& operator+=(const char* other) {
        m_text += other;
        return *this;
    }
    cow_String& operator+=(char c) {
        m_text += c;
        return *this;
    }

    friend cow_String operator+(cow_String a, const cow_String& b) { return a += b; }
    friend bool operator==(const cow_String& a, const cow_String& b) {
        return a.m_text == b.m_text;
    }
    friend bool operator!=(const cow_String& a, const cow_String& b) {
        return a.m_text != b.m_text;
    }
    friend bool operator<(const cow_String& a, const cow_String& b) { return a.Compare(b) < 0; }
    friend bool operator>(const cow_String& a, const cow_String& b) { return a.Compare(b) > 0; }
    friend bool operator<=(const cow_String& a, const cow_String& b) { return a.Compare(b) <= 0; }
    friend bool operator>=(const cow_String& a, const cow_String& b) { return a.Compare(b) >= 0; }
    friend std::ostream& operator<<(std::ostream& os, const cow_String& s) {
        return os << s.m_text;
    }

private:
    std::string m_text;
};

#endif
