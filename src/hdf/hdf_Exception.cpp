#include "vel/hdf/hdf_Exception.h"

#include <string>
#include <utility>
#include <vector>

#include "hdf/hdf_Here.h"

namespace {

const char kHdfUnit[] = "hdf_Exception";

// HDF5's name of an error class, or `fallback` when HDF5 has none for it.
std::string ClassName(hid_t errorClass, bool major, const char* fallback) {
    if (errorClass < 0) return fallback;
    char* name = major ? H5Eget_major(errorClass) : H5Eget_minor(errorClass);
    if (!name) return fallback;
    std::string text(name);
    H5free_memory(name);
    return text;
}

// One frame of HDF5's error stack, copied out during the walk: the stack may not be touched by
// other HDF5 calls while it is walked, and naming the classes is such a call.
struct Frame {
    hid_t majorClass;
    hid_t minorClass;
    bool hasDescription;
    std::string description;
    std::string function;
    std::string file;
    unsigned line;
};

// An allocation failure ends the walk as a failed walk: nothing may be thrown through HDF5.
herr_t CopyFrame(int, H5E_error1_t* error, void* frames) try {
    Frame frame{error->maj_num,
                error->min_num,
                error->desc != nullptr,
                error->desc ? error->desc : "",
                error->func_name ? error->func_name : "",
                error->file_name ? error->file_name : "",
                error->line};
    static_cast<std::vector<Frame>*>(frames)->push_back(std::move(frame));
    return 0;
} catch (...) {
    return -1;
}

}  // namespace

hdf_Exception::hdf_Exception(bool collect) : hdf_Exception(HDF_HERE, collect) {}

hdf_Exception::hdf_Exception(hdf_ErrorCode::Major major, hdf_ErrorCode::Minor minor,
                             const char* text)
    : hdf_Exception(HDF_HERE, major, minor, text) {}

hdf_Exception::hdf_Exception(const char* unit, int line, bool collect)
    : nex_TextException(unit, line, "") {
    if (collect) Collect();
}

hdf_Exception::hdf_Exception(const char* unit, int line, hdf_ErrorCode::Major major,
                             hdf_ErrorCode::Minor minor, const char* text)
    : nex_TextException(unit, line, text), m_major(major), m_minor(minor), m_text(text) {}

hdf_Exception::~hdf_Exception() = default;

void hdf_Exception::Propagate() const {
    throw *this;
}

const atr_String& hdf_Exception::AsString() const {
    return m_text;
}

void hdf_Exception::ThrowIfError() const {
    if (IsError()) Propagate();
}

const cls_Uid& hdf_Exception::Uid() const {
    static const cls_Uid uid = {0x68646630, 0x0001, 0x0001, {0, 0, 0, 0, 0, 0, 0, 1}};
    return uid;
}

void hdf_Exception::Collect() {
    std::vector<Frame> frames;
    if (H5Ewalk(H5E_WALK_DOWNWARD, &CopyFrame, &frames) < 0)
        throw nex_TextException(HDF_HERE, "Unable to extract HDF5 error information.");
    for (const Frame& f : frames)
        AddEntry(hdf_ErrorCode::MajorOfClass(f.majorClass),
                 hdf_ErrorCode::MinorOfClass(f.minorClass), f.majorClass, f.minorClass,
                 f.hasDescription ? f.description.c_str() : nullptr, f.function.c_str(),
                 f.file.c_str(), f.line);
}

void hdf_Exception::AddErrorEntry(hdf_ErrorCode::Major major, hdf_ErrorCode::Minor minor,
                                  const char* description, const char* function, const char* file,
                                  unsigned line) {
    AddEntry(major, minor, hdf_ErrorCode::ClassOf(major), hdf_ErrorCode::ClassOf(minor),
             description, function, file, line);
}

void hdf_Exception::AddEntry(hdf_ErrorCode::Major major, hdf_ErrorCode::Minor minor,
                             hid_t majorClass, hid_t minorClass, const char* description,
                             const char* function, const char* file, unsigned line) {
    if (m_major == hdf_ErrorCode::MajorNone) {
        m_major = major;
        m_minor = minor;
        m_majorName = ClassName(majorClass, true, hdf_ErrorCode::NameOf(major));
        m_minorName = ClassName(minorClass, false, hdf_ErrorCode::NameOf(minor));
        m_text.Clear();
        m_text.Append("HDF5 Error stack:\n");
    }
    const int majorCode = hdf_ErrorCode::ToH5Major(m_major);
    const int minorCode = hdf_ErrorCode::ToH5Minor(m_minor);
    if (function && *function && file && *file && line != 0)
        atr_translate(m_text, "  HDF5 error: (%d)%s/(%d)%s in %s()\n    file: %s, line: %d\n",
                      majorCode, m_majorName.c_str(), minorCode, m_minorName.c_str(), function,
                      file, static_cast<int>(line));
    else
        atr_translate(m_text, "  HDF5 error: (%d)%s/(%d)%s\n", majorCode, m_majorName.c_str(),
                      minorCode, m_minorName.c_str());
    if (description) atr_translate(m_text, "    %s\n", description);
    SetText(m_text.str());
}
