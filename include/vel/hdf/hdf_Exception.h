#ifndef VEL_HDF_HDF_EXCEPTION_H
#define VEL_HDF_HDF_EXCEPTION_H

#include <string>

#include "vel/VelExport.h"
#include "vel/hdf/hdf_ErrorCode.h"
#include "vel/platform/atr_String.h"
#include "vel/platform/nex_Exception.h"

// A failure of HDF5, with the codes of the first frame of HDF5's error stack and the whole stack
// as text.  Codes 0 mean "no error": the storage layer keeps one of these in every object as its
// error state.
//
// The text starts with "HDF5 Error stack:\n" and has one line per frame.  Every line repeats the
// codes and names of the first frame rather than its own: readers of old logs rely on that form,
// so it is kept.
class VEL_API hdf_Exception : public nex_TextException {
public:
    // Codes 0 and no text; with `collect`, the frames of HDF5's current error stack, from the
    // failed API call down to the innermost failure.  Throws nex_TextException "Unable to extract
    // HDF5 error information." when HDF5 cannot walk its stack.
    explicit hdf_Exception(bool collect = false);
    hdf_Exception(hdf_ErrorCode::Major major, hdf_ErrorCode::Minor minor, const char* text);
    // The same, naming the unit and line that raised the exception.
    hdf_Exception(const char* unit, int line, bool collect);
    hdf_Exception(const char* unit, int line, hdf_ErrorCode::Major major,
                  hdf_ErrorCode::Minor minor, const char* text);
    hdf_Exception(const hdf_Exception& other) = default;
    hdf_Exception& operator=(const hdf_Exception& other) = default;
    ~hdf_Exception() override;

    // Rethrows the exception as an hdf_Exception.
    [[noreturn]] virtual void Propagate() const;
    // The accumulated text.
    virtual const atr_String& AsString() const;

    // Adds one frame.  The first frame (while the major code is still 0) sets the codes and the
    // heading; every frame adds a line with the first frame's codes and names, with the function,
    // file and line when all three are known, and the description on a line of its own.
    void AddErrorEntry(hdf_ErrorCode::Major major, hdf_ErrorCode::Minor minor,
                       const char* description, const char* function, const char* file,
                       unsigned line);

    // Throws the exception itself when either code is not 0.
    void ThrowIfError() const;

    hdf_ErrorCode::Major GetMajor() const { return m_major; }
    hdf_ErrorCode::Minor GetMinor() const { return m_minor; }
    bool IsError() const {
        return m_major != hdf_ErrorCode::MajorNone || m_minor != hdf_ErrorCode::MinorNone;
    }
    const cls_Uid& Uid() const override;
    const char* what() const noexcept override { return m_text.c_str(); }

private:
    void Collect();
    // The names come from the class identifiers HDF5 reported, so a class without a 1.6 code
    // keeps its own text.
    void AddEntry(hdf_ErrorCode::Major major, hdf_ErrorCode::Minor minor, hid_t majorClass,
                  hid_t minorClass, const char* description, const char* function, const char* file,
                  unsigned line);

    hdf_ErrorCode::Major m_major = hdf_ErrorCode::MajorNone;
    hdf_ErrorCode::Minor m_minor = hdf_ErrorCode::MinorNone;
    std::string m_majorName;
    std::string m_minorName;
    atr_String m_text;
};

#endif
