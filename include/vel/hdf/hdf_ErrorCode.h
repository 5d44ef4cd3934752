#ifndef VEL_HDF_HDF_ERRORCODE_H
#define VEL_HDF_HDF_ERRORCODE_H

#include <hdf5.h>

#include "vel/VelExport.h"

// HDF5 error codes with the numbering of the 1.6 series, where majors and minors were plain
// enumerations (majors 0 to 27, minors 0 to 85).  The HDF5 linked here reports error classes as
// hid_t identifiers instead; the class conversions below compare an identifier with HDF5's
// globals of the same name.  A class 1.6 did not have (a newer one, or one an application
// registered) becomes MajorInternal / MinorNone, so translation never fails.
class VEL_API hdf_ErrorCode {
public:
    enum Major {
        MajorNone = 0,
        MajorArgs,
        MajorResource,
        MajorInternal,
        MajorFile,
        MajorIO,
        MajorFunc,
        MajorAtom,
        MajorCache,
        MajorBtree,
        MajorSym,
        MajorHeap,
        MajorOhdr,
        MajorDatatype,
        MajorDataspace,
        MajorDataset,
        MajorStorage,
        MajorPlist,
        MajorAttr,
        MajorPline,
        MajorEfl,
        MajorReference,
        MajorVfl,
        MajorTbbt,
        MajorTst,
        MajorRs,
        MajorError,
        MajorSlist
    };

    enum Minor {
        MinorNone = 0,
        MinorUninitialized,
        MinorUnsupported,
        MinorBadType,
        MinorBadRange,
        MinorBadValue,
        MinorNoSpace,
        MinorCantCopy,
        MinorCantFree,
        MinorAlreadyExists,
        MinorCantLock,
        MinorCantUnlock,
        MinorCantGc,
        MinorCantGetSize,
        MinorFileExists,
        MinorFileOpen,
        MinorCantCreate,
        MinorCantOpenFile,
        MinorCantCloseFile,
        MinorNotHdf5,
        MinorBadFile,
        MinorTruncated,
        MinorMount,
        MinorSeekError,
        MinorReadError,
        MinorWriteError,
        MinorCloseError,
        MinorOverflow,
        MinorFcntl,
        MinorCantInit,
        MinorAlreadyInit,
        MinorCantRelease,
        MinorBadAtom,
        MinorBadGroup,
        MinorCantRegister,
        MinorCantInc,
        MinorCantDec,
        MinorNoIds,
        MinorCantFlush,
        MinorCantSerialize,
        MinorCantLoad,
        MinorProtect,
        MinorNotCached,
        MinorSystem,
        MinorCantIns,
        MinorCantRename,
        MinorCantProtect,
        MinorCantUnprotect,
        MinorNotFound,
        MinorExists,
        MinorCantEncode,
        MinorCantDecode,
        MinorCantSplit,
        MinorCantInsert,
        MinorCantList,
        MinorLinkCount,
        MinorVersion,
        MinorAlignment,
        MinorBadMesg,
        MinorCantDelete,
        MinorBadIter,
        MinorCantOpenObj,
        MinorCantCloseObj,
        MinorCompLen,
        MinorLink,
        MinorSlink,
        MinorPath,
        MinorCantConvert,
        MinorBadSize,
        MinorCantClip,
        MinorCantCount,
        MinorCantSelect,
        MinorCantNext,
        MinorBadSelect,
        MinorCantCompare,
        MinorCantGet,
        MinorCantSet,
        MinorDupClass,
        MinorMpi,
        MinorMpiErrStr,
        MinorCantRestore,
        MinorCantMakeTree,
        MinorNoFilter,
        MinorCallback,
        MinorCanApply,
        MinorSetLocal
    };

    // 1.6 ordinals to codes and back: identities over 0..27 and 0..85.  Out of range raises the
    // assertion exception "Bad H5E_major_t", "Bad H5E_minor_t", or "Bad hdf_ErrorCode::Major"
    // for both reverse conversions.
    static Major ToMajor(int h5Major);
    static Minor ToMinor(int h5Minor);
    static int ToH5Major(Major major);
    static int ToH5Minor(Minor minor);

    // HDF5 error class identifiers to codes, with the fallback for unknown classes.
    static Major MajorOfClass(hid_t errorClass);
    static Minor MinorOfClass(hid_t errorClass);
    // The class identifier of a code; -1 for the codes HDF5 no longer has (MajorTbbt,
    // MinorNotHdf5, MinorLink, MinorSlink, MinorCantMakeTree).
    static hid_t ClassOf(Major major);
    static hid_t ClassOf(Minor minor);

    // The 1.6 name of a code, "H5E_ARGS" and the like.
    static const char* NameOf(Major major);
    static const char* NameOf(Minor minor);
};

#endif
