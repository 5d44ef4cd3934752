#ifndef VEL_CONTEXT_VELDYNAMICID_H
#define VEL_CONTEXT_VELDYNAMICID_H

#include <cstdint>

#include "vel/VelExport.h"

// Every category number lies below this limit, identifiers and record types alike.
constexpr int VelCategoryLimit = 1024;

// The categories of the bulk-data identifiers.  Categories 64 and 65 are the serial numbers a
// context hands to the record side (data records and associations); they are defined there.
enum VelIDCategory {
    VelIDCategoryCollection = 1,
    VelIDCategoryDistribution = 2,
    VelIDCategoryDSet = 3,
    VelIDCategoryCSet = 5,
    VelIDCategoryDrawer = 7,
    VelIDCategoryContext = 66
};

// Byte order of a stored identifier.
enum VelByteOrder { VelByteOrderBigEndian = 0, VelByteOrderLittleEndian = 1 };

// The generic identifier: a category, the context's value and two 64-bit words whose meaning the
// category gives (see the typed identifiers' DynamicID()).  The typed identifiers put their
// 32-bit words in sign-extended, so within one category and context the order of dynamic IDs
// agrees with the typed order; converting back takes the low 32 bits.
//
// Order: category, then context (both signed 32-bit), then first, then second (signed 64-bit).
class VEL_API VelDynamicID {
public:
    // The size of the persistent form: category (4 bytes), first (8), second (8).  The context is
    // not stored; the reader supplies it.
    static constexpr int e_PersistentSize = 20;

    // Category 0, null context, both words 0: no identifier of any category.
    VelDynamicID() : m_category(0), m_context(0xFFFFFFFFu), m_first(0), m_second(0) {}
    // Validates "cat < VelCategoryLimit".
    VelDynamicID(int cat, unsigned context, int64_t first, int64_t second);

    int Category() const { return m_category; }
    unsigned Context() const { return m_context; }
    int64_t First() const { return m_first; }
    int64_t Second() const { return m_second; }

    bool operator==(const VelDynamicID& other) const;
    bool operator!=(const VelDynamicID& other) const { return !(*this == other); }
    int Compare(const VelDynamicID& other) const;

    // Writes the 20-byte persistent form in the given byte order.
    void WritePersistent(unsigned char* out, VelByteOrder order) const;
    // Reads a persistent form written in `order`; validates "tempCategory < VelCategoryLimit".
    static VelDynamicID ReadPersistent(const unsigned char* in, unsigned context,
                                       VelByteOrder order);

private:
    int m_category;
    unsigned m_context;
    int64_t m_first;
    int64_t m_second;
};

#endif
