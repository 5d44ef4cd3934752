#include "VelDumpValue.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <sstream>

VelDumpValue VelDumpValue::MakeBool(bool b) {
    VelDumpValue v;
    v.m_kind = Bool;
    v.m_bool = b;
    return v;
}

VelDumpValue VelDumpValue::MakeInt(int64_t i) {
    VelDumpValue v;
    v.m_kind = Int;
    v.m_int = i;
    return v;
}

VelDumpValue VelDumpValue::MakeDouble(double d) {
    VelDumpValue v;
    v.m_kind = Double;
    v.m_double = d;
    return v;
}

VelDumpValue VelDumpValue::MakeString(std::string s) {
    VelDumpValue v;
    v.m_kind = String;
    v.m_string = std::move(s);
    return v;
}

VelDumpValue VelDumpValue::MakeArray() {
    VelDumpValue v;
    v.m_kind = Array;
    return v;
}

VelDumpValue VelDumpValue::MakeObject() {
    VelDumpValue v;
    v.m_kind = Object;
    return v;
}

VelDumpValue& VelDumpValue::Add(const std::string& key, VelDumpValue value) {
    m_fields.emplace_back(key, std::move(value));
    return m_fields.back().second;
}

VelDumpValue& VelDumpValue::Push(VelDumpValue value) {
    m_items.push_back(std::move(value));
    return m_items.back();
}

bool VelDumpValue::IsScalarArray() const {
    if (m_kind != Array) return false;
    for (const VelDumpValue& item : m_items)
        if (!item.IsScalar()) return false;
    return true;
}

bool VelDumpValue::IsRow() const {
    return m_kind == Object && m_fields.size() == 2 && m_fields[0].first == "at" &&
           m_fields[1].first == "values";
}

namespace {
// The length of the UTF-8 sequence (a lead byte and its continuation bytes) at `s[i]`, or 0 when
// the bytes there are not one.
size_t Utf8SequenceAt(const std::string& s, size_t i) {
    const unsigned char lead = static_cast<unsigned char>(s[i]);
    size_t length = 0;
    if (lead < 0x80)
        length = 1;
    else if (lead >= 0xC2 && lead < 0xE0)
        length = 2;
    else if (lead >= 0xE0 && lead < 0xF0)
        length = 3;
    else if (lead >= 0xF0 && lead < 0xF5)
        length = 4;
    if (length == 0 || i + length > s.size()) return 0;
    for (size_t k = 1; k < length; ++k)
        if ((static_cast<unsigned char>(s[i + k]) & 0xC0) != 0x80) return 0;
    return length;
}

// A string in double quotes, JSON-escaped.  Bytes that are not UTF-8 (a damaged string table)
// print as \u00XX, so the output stays valid UTF-8 and valid JSON.
void WriteQuoted(std::ostream& os, const std::string& s) {
    os << '"';
    for (size_t i = 0; i < s.size();) {
        const char c = s[i];
        const unsigned char u = static_cast<unsigned char>(c);
        const size_t length = Utf8SequenceAt(s, i);
        if (c == '"' || c == '\\') {
            os << '\\' << c;
        } else if (u < 0x20 || length == 0) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", u);
            os << escaped;
        } else {
            os.write(&s[i], static_cast<std::streamsize>(length));
            i += length;
            continue;
        }
        ++i;
    }
    os << '"';
}

void WriteDouble(std::ostream& os, double d, bool json) {
    if (!std::isfinite(d)) {
        // JSON has no infinities or NaN.
        const char* text = std::isnan(d) ? "nan" : (d > 0 ? "inf" : "-inf");
        if (json)
            os << '"' << text << '"';
        else
            os << text;
        return;
    }
    char text[32];
    const std::to_chars_result r = std::to_chars(text, text + sizeof text, d);
    os.write(text, r.ptr - text);
}
}  // namespace

void VelDumpValue::WriteScalar(std::ostream& os, bool json) const {
    switch (m_kind) {
        case Null:
            os << "null";
            break;
        case Bool:
            os << (m_bool ? "true" : "false");
            break;
        case Int:
            os << m_int;
            break;
        case Double:
            WriteDouble(os, m_double, json);
            break;
        case String:
            WriteQuoted(os, m_string);
            break;
        default:
            break;
    }
}

void VelDumpValue::WriteInline(std::ostream& os) const {
    if (IsScalar()) {
        WriteScalar(os, false);
        return;
    }
    os << '[';
    for (size_t i = 0; i < m_items.size(); ++i) {
        if (i) os << ", ";
        m_items[i].WriteInline(os);
    }
    os << ']';
}

void VelDumpValue::WriteField(std::ostream& os, int indent, const std::string& key) const {
    const std::string pad(static_cast<size_t>(indent), ' ');
    if (IsRow()) {
        os << pad;
        m_fields[0].second.WriteInline(os);
        os << ":";
        for (const VelDumpValue& v : m_fields[1].second.m_items) {
            os << ' ';
            v.WriteInline(os);
        }
        os << '\n';
        return;
    }
    os << pad << key << ':';
    if (IsScalar() || IsScalarArray()) {
        os << ' ';
        WriteInline(os);
        os << '\n';
        return;
    }
    os << '\n';
    WriteText(os, indent + 2);
}

void VelDumpValue::WriteText(std::ostream& os, int indent) const {
    const std::string pad(static_cast<size_t>(indent), ' ');
    if (m_kind == Object) {
        for (const auto& [key, value] : m_fields) value.WriteField(os, indent, key);
        return;
    }
    if (m_kind == Array) {
        for (const VelDumpValue& item : m_items) {
            if (item.IsRow()) {
                item.WriteField(os, indent, "");
            } else if (item.IsScalar() || item.IsScalarArray()) {
                os << pad << "- ";
                item.WriteInline(os);
                os << '\n';
            } else {
                // An item's first field follows its "- " marker; the rest line up under it.
                std::ostringstream body;
                item.WriteText(body, indent + 2);
                std::string text = body.str();
                if (text.size() >= static_cast<size_t>(indent + 2)) text.replace(indent, 2, "- ");
                os << text;
            }
        }
        return;
    }
    os << pad;
    WriteInline(os);
    os << '\n';
}

void VelDumpValue::WriteJson(std::ostream& os) const {
    if (IsScalar()) {
        WriteScalar(os, true);
        return;
    }
    if (m_kind == Array) {
        os << '[';
        for (size_t i = 0; i < m_items.size(); ++i) {
            if (i) os << ',';
            m_items[i].WriteJson(os);
        }
        os << ']';
        return;
    }
    os << '{';
    for (size_t i = 0; i < m_fields.size(); ++i) {
        if (i) os << ',';
        WriteQuoted(os, m_fields[i].first);
        os << ':';
        m_fields[i].second.WriteJson(os);
    }
    os << '}';
}
