#ifndef VEL_TOOLS_VELDUMP_VELDUMPVALUE_H
#define VEL_TOOLS_VELDUMP_VELDUMPVALUE_H

#include <cstdint>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

// What veldump found, as a tree of plain values that prints either as indented text or as JSON,
// so that both forms always say the same.  Objects keep their fields in the order they were
// added.  Doubles print in their shortest form that reads back to the same double.
class VelDumpValue {
public:
    enum Kind { Null, Bool, Int, Double, String, Array, Object };

    VelDumpValue() = default;
    static VelDumpValue MakeBool(bool b);
    static VelDumpValue MakeInt(int64_t i);
    static VelDumpValue MakeDouble(double d);
    static VelDumpValue MakeString(std::string s);
    static VelDumpValue MakeArray();
    static VelDumpValue MakeObject();

    Kind GetKind() const { return m_kind; }
    // Adds a field to an object (and returns the new field's value) or an element to an array.
    VelDumpValue& Add(const std::string& key, VelDumpValue value);
    VelDumpValue& Add(const std::string& key, int64_t i) { return Add(key, MakeInt(i)); }
    VelDumpValue& Add(const std::string& key, const std::string& s) {
        return Add(key, MakeString(s));
    }
    VelDumpValue& Add(const std::string& key, const char* s) { return Add(key, MakeString(s)); }
    VelDumpValue& Push(VelDumpValue value);

    // Text: "key: value" lines, nested objects indented by two spaces under "key:", arrays of
    // scalars on one line in brackets, other arrays one "- " item each.  An object of exactly the
    // fields "at" and "values" (a row of a drawer) prints as "[at]: values".
    void WriteText(std::ostream& os, int indent = 0) const;
    void WriteJson(std::ostream& os) const;

private:
    bool IsScalar() const { return m_kind != Array && m_kind != Object; }
    bool IsScalarArray() const;
    bool IsRow() const;
    void WriteScalar(std::ostream& os, bool json) const;
    void WriteInline(std::ostream& os) const;
    void WriteField(std::ostream& os, int indent, const std::string& key) const;

    Kind m_kind = Null;
    bool m_bool = false;
    int64_t m_int = 0;
    double m_double = 0.0;
    std::string m_string;
    std::vector<std::pair<std::string, VelDumpValue>> m_fields;
    std::vector<VelDumpValue> m_items;
};

#endif
