#include <cstdint>

#include "vel/core/VelArgsErrorKey.h"
#include "vel/core/VelIdAsString.h"
#include "vel/core/VelTypeKey.h"

namespace {
// The texts are kept letter for letter, odd spacing and the doubled "when when" included:
// clients match on them.
const char* const kArgsErrorTexts[] = {
    "",
    "at least one of SetRead or SetWrite must be called on TransferArgs",
    "more than one of writeNewDomainError, writeNewDomainMake or writeNewDomainIgnore is set",
    "SetSparseNNZero can only be used when when SetMakeNewDrawer is",
    "cannot have SetMakeNewDrawer with SetRead in TransferArgs",
    "illegal to have writing specified in TransferArgs but writeNewDomainMake false and "
    "oldDomainOverwrite false",
    "SetSparseNNonzero requires sparse serialization",
    "oCompartment specified in RangeViewArgs has different size to distribution grid",
    "All of the dimensions of the Transfer must be set and related collections in the "
    "distribution grid",
    "More than one dimension of the Transfer refers to the same collection",
    "In a SetDimOrdinalRange(d,c,i,j),  i must be 0 or greater and j,  1 or greater",
    "no SetFor... function was called on the RangeViewArgs",
    "all chunk sizes must all be 1 or greater in Transfer",
    "the chunkSizes array size on Transfer must match the size of the distribution grid",
    "the chunkSizes array on Transfer cannot be specified with Sparse serialization ",
    "SetDimOrdinalRange cannot be used on Transfer when a drawer is being created",
};

const char* const kTypeKeyNames[] = {"Int", "Double", "Float", "Bool", "CMember", "CSet", "OCSet"};
}  // namespace

const char* VelMessageOf(VelArgsErrorKey key) {
    const int k = static_cast<int>(key);
    if (k < 0 || k >= static_cast<int>(sizeof kArgsErrorTexts / sizeof kArgsErrorTexts[0]))
        return "<?unknown VelArgsErrorKey message?>";
    return kArgsErrorTexts[k];
}

const char* VelstringNameOf(VelTypeKey key) {
    const int k = static_cast<int>(key);
    if (k < VelTypeKeyInt || k > VelTypeKeyOCSet) return "<? bad VelTypeKey ?>";
    return kTypeKeyNames[k - 1];
}

cow_String VelIdAsString(int id) {
    static const char kDigits[] = "0123456789ABCDEF";
    char text[9] = "00000000";
    uint32_t rest = static_cast<uint32_t>(id);
    for (int pos = 7; rest != 0 && pos >= 0; --pos, rest >>= 4) text[pos] = kDigits[rest & 0xf];
    return cow_String(text);
}
