#include "context/VelDSet.h"

#include <climits>
#include <cstdint>
#include <string>

#include "context/VelCollection.h"
#include "context/VelContext.h"
#include "context/VelContextLayout.h"
#include "context/VelIDAccess.h"
#include "context/VelStoredInts.h"
#include "hdf/hdf_TypeMatch.h"
#include "vel/context/VelOCompartment.h"
#include "vel/core/VelAssert.h"
#include "vel/core/VelIdAsString.h"

namespace {

constexpr const char* kKind = "DSet";

// The ascending bit of a CSet index word.
constexpr uint32_t kAscendingBit = 0x80000000u;

int IndexOfWord(int indexWord) {
    return static_cast<int>(static_cast<uint32_t>(indexWord) & ~kAscendingBit);
}

}  // namespace

// ---- creation -----------------------------------------------------------------------------

VelAutoPtr<VelDSet> VelDSet::Create(VelContext& context, const VelDSetID& id,
                                    const VelCtation& ctation) {
    VelVALIDATE(!context.IsReadOnly());
    const int compartments = ctation.Size();
    const int dimensions = ctation[0].Size();
    VelVALIDATE(dimensions >= 1 && dimensions <= VelMAX_DIMENSIONS);
    // The file keeps each CSet as its two words; the context is implied, so a CSet of another
    // context, or one its collection does not have, would come back as something else.
    for (int d = 0; d < dimensions; ++d) {
        const VelCSetID& cset = ctation[0][d];
        VelVALIDATE(context.HasCollection(cset.CollectionID()) &&
                    "a DSet's CSets must belong to its context");
        const int numCSets = context.Collection(cset.CollectionID()).NumCSets();
        for (int c = 0; c < compartments; ++c) {
            const VelCSetID& id = ctation[c][d];
            VelVALIDATE(id.Index() < numCSets);
        }
    }
    const int64_t count = int64_t(2) * compartments * dimensions;
    VelVALIDATE(count <= INT_MAX);

    VelArray<int> words(static_cast<int>(count));
    int w = 0;
    for (int c = 0; c < compartments; ++c) {
        for (int d = 0; d < dimensions; ++d) {
            words[w++] = ctation[c][d].CollectionID().Minor().Value();
            words[w++] = ctation[c][d].Minor().Value();
        }
    }

    return VelGuardStorage([&] {
        const int minor = id.Minor().Value();
        const hdf_Group group = context.File().GroupCreate(VelIdAsString(minor).c_str(), 0);
        VelContextLayout::WriteType(group, VelObjectKindDSet, minor);
        const int attributes[2] = {compartments, dimensions};
        VelStoredInts::CreateAttribute(group, e_Attributes, attributes, 2);
        VelStoredInts::CreateDataset(group, e_Ctation, &words[0], words.Size());
        return VelAutoPtr<VelDSet>(new VelDSet(id, group, ctation));
    });
}

// ---- loading ------------------------------------------------------------------------------

VelAutoPtr<VelDSet> VelDSet::Open(VelContext& context, const hdf_Group& group,
                                  const VelDSetID& id) {
    return VelAutoPtr<VelDSet>(new VelDSet(id, group, ReadCtation(context, group)));
}

// Every word is checked before it becomes part of an identifier: the collection must be loaded,
// every compartment must list the first one's collections in the same positions, and every CSet
// must be an ascending one that its collection has stored.
VelCtation VelDSet::ReadCtation(VelContext& context, const hdf_Group& group) {
    const hdf_Attribute attribute = group.AttributeOpen(e_Attributes);
    if (VelStoredInts::Length(attribute.GetSpace()) != 2)
        VelRefuseStored(kKind, group, "\"Attributes\" is not one dimension of 2 ints");
    if (!VelStoredInts::HoldsInts(attribute.GetType()))
        VelRefuseStored(kKind, group, "\"Attributes\" does not hold ints");
    int shape[2];
    attribute.Read(hdf_Datatype::NATIVE_INT(), shape);
    const int compartments = shape[0];
    const int dimensions = shape[1];
    if (compartments < 1)
        VelRefuseStored(kKind, group,
                        "\"Attributes\" counts " + std::to_string(compartments) +
                            " compartments, at least 1 is needed");
    if (dimensions < 1 || dimensions > VelMAX_DIMENSIONS)
        VelRefuseStored(kKind, group,
                        "\"Attributes\" counts " + std::to_string(dimensions) +
                            " dimensions, 1 to " + std::to_string(VelMAX_DIMENSIONS) +
                            " are allowed");

    const hdf_Dataset dataset = group.DatasetOpen(e_Ctation);
    const int64_t length = VelStoredInts::Length(dataset.GetSpace());
    const int64_t expected = int64_t(2) * compartments * dimensions;
    if (length != expected)
        VelRefuseStored(kKind, group,
                        "\"Ctation\" holds " + std::to_string(length) + " ints, not 2 x " +
                            std::to_string(compartments) + " compartments x " +
                            std::to_string(dimensions) + " dimensions");
    if (expected > INT_MAX) VelRefuseStored(kKind, group, "\"Ctation\" is too long");
    if (!VelStoredInts::HoldsInts(dataset.GetType()))
        VelRefuseStored(kKind, group, "\"Ctation\" does not hold ints");
    if (!hdf_HasStoredLayout(dataset))
        VelRefuseStored(kKind, group, "\"Ctation\" stores no values");
    VelArray<int> words(static_cast<int>(expected));
    dataset.Read(hdf_Datatype::NATIVE_INT(), hdf_Dataspace(), &words[0]);

    VelCollectionID collections[VelMAX_DIMENSIONS];
    int numCSets[VelMAX_DIMENSIONS];
    for (int d = 0; d < dimensions; ++d) {
        const int word = words[2 * d];
        collections[d] = VelIDAccess::MakeCollectionID(context.ID(), word);
        if (!context.HasCollection(collections[d]))
            VelRefuseStored(kKind, group,
                            "\"Ctation\" names collection word " + std::to_string(word) +
                                ", which the context does not have");
        for (int e = 0; e < d; ++e)
            if (words[2 * e] == word)
                VelRefuseStored(kKind, group,
                                "\"Ctation\" names collection word " + std::to_string(word) +
                                    " twice in one compartment");
        numCSets[d] = context.Collection(collections[d]).NumCSets();
    }

    VelArray<VelCompartment> list(compartments);
    VelArray<VelCSetID> ids(dimensions);
    for (int c = 0; c < compartments; ++c) {
        for (int d = 0; d < dimensions; ++d) {
            const int at = 2 * (c * dimensions + d);
            const int indexWord = words[at + 1];
            const std::string where =
                "compartment " + std::to_string(c) + ", dimension " + std::to_string(d) + ": ";
            if (words[at] != words[2 * d])
                VelRefuseStored(kKind, group,
                                where + "collection word " + std::to_string(words[at]) +
                                    " is not the first compartment's " +
                                    std::to_string(words[2 * d]));
            if (indexWord == -1 || indexWord >= 0)
                VelRefuseStored(kKind, group,
                                where + "index word " + std::to_string(indexWord) +
                                    " is not an ascending CSet");
            if (IndexOfWord(indexWord) >= numCSets[d])
                VelRefuseStored(kKind, group,
                                where + "CSet " + std::to_string(IndexOfWord(indexWord)) +
                                    " is not stored in its collection");
            ids[d] = VelIDAccess::MakeCSetID(collections[d], indexWord);
        }
        list[c] = VelCompartment(ids);
    }
    return VelCtation(list);
}
