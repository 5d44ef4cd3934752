#ifndef VEL_PLATFORM_NEX_EXCEPTION_H
#define VEL_PLATFORM_NEX_EXCEPTION_H

#include <exception>
#include <string>

#include "vel/VelExport.h"
#include "vel/platform/cls_Uid.h"

// Exceptions of the utility services.  Each carries the source unit and line that raised it and
// the unique id of its class.
class VEL_API nex_Exception : public std::exception {
public:
    nex_Exception(const char* unit, int line) : m_unit(unit ? unit : ""), m_line(line) {}
    ~nex_Exception() override = default;

    const char* Unit() const { return m_unit.c_str(); }
    int Line() const { return m_line; }
    virtual const cls_Uid& Uid() const;
    const char* what() const noexcept override { return "nex_Exception"; }

private:
    std::string m_unit;
    int m_line;
};

// An exception with a text.
class VEL_API nex_TextException : public nex_Exception {
public:
    nex_TextException(const char* unit, int line, const char* text)
        : nex_Exception(unit, line), m_text(text ? text : "") {}

    const char* Text() const { return m_text.c_str(); }
    const cls_Uid& Uid() const override;
    const char* what() const noexcept override { return m_text.c_str(); }

protected:
    void SetText(std::string text) { m_text = std::move(text); }

private:
    std::string m_text;
};

// Raised by the storage layer for programming errors such as an illegal enumerator value.
class VEL_API nex_AssertException : public nex_TextException {
public:
    nex_AssertException(const char* unit, int line, const char* text)
        : nex_TextException(unit, line, text) {}
    const cls_Uid& Uid() const override;
};

#endif
