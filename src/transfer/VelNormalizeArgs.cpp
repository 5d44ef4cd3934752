#include "vel/transfer/VelNormalizeArgs.h"

namespace {
// A new-domain policy the caller did not choose becomes an explicit "no".
void DefineFalseIfUndefined(VelOptionalFlag& flag) {
    if (!flag.IsDefined()) flag.Set(false);
}
}  // namespace

VelArgsErrorKey VelNormalizeArgs(VelTransferArgs& args) {
    if (!args.m_writing && !args.m_reading) return VelArgsNoReadOrWrite;

    if (args.m_makeNewDrawer.IsTrue()) {
        if (args.m_reading) return VelArgsNewDrawerWithRead;
    } else if (args.m_sparseNNonzero != 0) {
        return VelArgsSparseNNZeroWithoutNewDrawer;
    }

    const int policiesSet = args.m_writeNewDomainError.IsTrue() +
                            args.m_writeNewDomainMake.IsTrue() +
                            args.m_writeNewDomainIgnore.IsTrue();
    if (policiesSet > 1) return VelArgsConflictingNewDomainPolicy;

    if (args.m_writing) {
        DefineFalseIfUndefined(args.m_writeNewDomainError);
        DefineFalseIfUndefined(args.m_writeNewDomainMake);
        DefineFalseIfUndefined(args.m_writeNewDomainIgnore);
        // Making drawers for new domain is the default policy.
        if (policiesSet == 0) args.m_writeNewDomainMake.Set(true);
        if (!args.m_oldDomainOverwrite.IsDefined()) args.m_oldDomainOverwrite.Set(true);
        // Such a write could store nothing at all.
        if (args.m_writeNewDomainMake.IsFalse() && args.m_oldDomainOverwrite.IsFalse())
            return VelArgsWriteWithNothingAllowed;
        if (!args.m_makeNewDrawer.IsDefined()) args.m_makeNewDrawer.Set(false);
        if (args.m_makeNewDrawer.IsTrue()) {
            if (args.m_chunkSizesGiven) {
                for (int k = 0; k < args.m_chunkSizes.Size(); ++k) {
                    if (args.m_chunkSizes[k] < 1) return VelArgsBadChunkSize;
                }
            }
            // A new drawer has no old domain and there is no drawer to search.
            args.m_indicatedDrawer = VelDrawerID();
            args.m_lookInOnlyOneDrawer.Undefine();
            args.m_oldDomainOverwrite.Undefine();
        }
    } else {
        args.m_writeNewDomainError.Undefine();
        args.m_writeNewDomainMake.Undefine();
        args.m_writeNewDomainIgnore.Undefine();
    }

    if (args.m_reading) {
        if (args.m_makeNewDrawer.IsTrue()) return VelArgsNewDrawerWithRead;
        if (!args.m_requireReadCoverage.IsDefined()) args.m_requireReadCoverage.Set(true);
    } else {
        args.m_requireReadCoverage.Undefine();
    }

    if (!args.m_makeNewDrawer.IsTrue() && !args.m_lookInOnlyOneDrawer.IsDefined())
        args.m_lookInOnlyOneDrawer.Set(false);

    return VelArgsNoError;
}

VelArgsErrorKey VelNormalizeArgs(VelRangeViewArgs& view, const VelGrid& grid) {
    const int n = view.Size();
    if (n != grid.Size()) return VelArgsOCompartmentSizeMismatch;

    VelArray<int> used(n);
    for (int k = 0; k < n; ++k) used[k] = 0;

    for (int d = 0; d < n; ++d) {
        const VelDimSelection& selection = view.DimSelection(d);
        const int position = grid.Position(selection.CollectionID());
        if (position < 0) return VelArgsDimensionsNotSet;
        used[position] = 1;
        // The message asks for j >= 1, but the rule is j >= i: a one-position range at 0 is
        // legal.  Both are kept as clients know them.
        if (selection.IsOrdinalRange()) {
            if (selection.First() < 0) return VelArgsBadOrdinalRange;
            if (selection.Last() < selection.First()) return VelArgsBadOrdinalRange;
        }
    }

    // As many selections as grid positions, all found: a position left over means two
    // selections named the same collection.
    for (int k = 0; k < n; ++k) {
        if (!used[k]) return VelArgsRepeatedCollection;
    }
    return VelArgsNoError;
}

VelArgsErrorKey VelNormalizeArgs(VelRangeViewArgs& view, VelTransferArgs& args,
                                 const VelGrid& grid) {
    if (VelArgsErrorKey key = VelNormalizeArgs(view, grid)) return key;
    if (VelArgsErrorKey key = VelNormalizeArgs(args)) return key;

    if (!view.SerializationType().IsSparse()) {
        if (args.SparseNNonzero() != 0) return VelArgsSparseNNonzeroNotSparse;
    } else if (args.ChunkSizesGiven()) {
        return VelArgsChunkSizesWithSparse;
    }

    if (args.ChunkSizesGiven() && args.ChunkSizes().Size() != grid.Size())
        return VelArgsChunkSizesMismatch;

    if (args.MakeNewDrawer().IsTrue()) {
        for (int d = 0; d < view.Size(); ++d) {
            if (view.DimSelection(d).IsOrdinalRange()) return VelArgsOrdinalRangeOnNewDrawer;
        }
    }
    return VelArgsNoError;
}
