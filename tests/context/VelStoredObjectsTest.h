#ifndef VEL_TESTS_CONTEXT_VELSTOREDOBJECTSTEST_H
#define VEL_TESTS_CONTEXT_VELSTOREDOBJECTSTEST_H

// The fixture of the distribution and DSet tests: a context with three collections, reopened at
// will, and the HDF5 C API at hand to read or damage what the library wrote.

#include <hdf5.h>

#include <string>
#include <vector>

#include "VelContextFileHelpers.h"
#include "VelTestIDs.h"
#include "VelTestSupport.h"
#include "vel/UTI_VelDynamicAPI.h"
#include "vel/context/VelCollectionRef.h"
#include "vel/context/VelContextRef.h"
#include "vel/context/VelDistributionRef.h"
#include "vel/context/VelManager.h"

// Reads every collection, distribution and DSet of an open context: an open finds the objects
// and each is read, and checked, at its first use.
inline void ReadEveryObject(const VelContextID& id) {
    const VelContextRef context(id);
    const VelArray<VelCollectionID> collections = context.Collections();
    for (int i = 0; i < collections.Size(); ++i) VelCollectionRef(collections[i]).Space();
    const VelArray<VelDistributionID> distributions = context.Distributions();
    for (int i = 0; i < distributions.Size(); ++i) VelDistributionRef(distributions[i]).Grid();
    const VelArray<VelDSetID> dsets = context.DSets();
    for (int i = 0; i < dsets.Size(); ++i) context.DSetRep(dsets[i]);
}

// Opens `file` and reads every object; a refusal of an object closes the context again.
inline VelContextID OpenAndReadEveryObject(const std::string& file, hdf_File::OpenFlags flags,
                                           int schemaVersion) {
    const VelContextID id = VelManager::OpenContext(file.c_str(), flags, schemaVersion);
    if (id.IsNull()) return id;
    try {
        ReadEveryObject(id);
    } catch (...) {
        VelManager::CloseContext(id);
        throw;
    }
    return id;
}

class VelStoredObjectsTest : public ::testing::Test {
protected:
    void SetUp() override {
        UTI_VelDynamicAPI_initialize(m_modules);
        m_context = VelManager::CreateContext(m_file.c_str(), hdf_File::CreateFlagsTruncate, 3);
        ASSERT_FALSE(m_context.IsNull());
        for (int size : {10, 20, 30}) m_collections.push_back(Ref().CreateCollection(size));
    }
    void TearDown() override { UTI_VelDynamicAPI_finalize(m_modules); }

    VelContextRef Ref() const { return VelContextRef(m_context); }
    const VelCollectionID& Collection(int i) const { return m_collections[static_cast<size_t>(i)]; }

    void Close() {
        VelManager::CloseContext(m_context);
        m_context = VelContextID();
    }
    VelContextID Open(hdf_File::OpenFlags flags = hdf_File::OpenFlagsReadWrite) {
        return VelManager::OpenContext(m_file.c_str(), flags, 3);
    }
    VelContextID OpenAndRead(hdf_File::OpenFlags flags = hdf_File::OpenFlagsReadWrite) {
        return OpenAndReadEveryObject(m_file.str(), flags, 3);
    }
    // Closes and reopens the context; the collections are found again by their serials.
    void Reopen(hdf_File::OpenFlags flags = hdf_File::OpenFlagsReadWrite) {
        Close();
        m_context = Open(flags);
        ASSERT_FALSE(m_context.IsNull());
        for (VelCollectionID& c : m_collections) c = Again(c);
    }
    // The collection of the open context with the serial and color of `id`.
    VelCollectionID Again(const VelCollectionID& id) const {
        return VelCollectionID(VelDynamicID(1, m_context.Value(), id.Minor().Value(), 0));
    }
    VelCSetID Again(const VelCSetID& id) const {
        const VelDynamicID d = id.DynamicID();
        return VelCSetID(VelDynamicID(5, m_context.Value(), d.First(), d.Second()));
    }

    void WriteIntAttribute(const char* path, const char* name, const std::vector<int>& values) {
        RawFile(m_file.str(), H5F_ACC_RDWR).WriteIntAttribute(path, name, values);
    }

    int m_modules = 0;
    VelTempFile m_file{"objects"};
    VelContextID m_context;
    std::vector<VelCollectionID> m_collections;
};

#endif
