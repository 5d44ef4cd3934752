#ifndef VEL_TRANSFER_VELNORMALIZEARGS_H
#define VEL_TRANSFER_VELNORMALIZEARGS_H

#include "vel/VelExport.h"
#include "vel/context/VelGrid.h"
#include "vel/core/VelArgsErrorKey.h"
#include "vel/transfer/VelRangeViewArgs.h"
#include "vel/transfer/VelTransferArgs.h"

// Argument normalisation: each function checks its rules in a fixed order and returns the key
// of the first that fails (VelArgsNoError when all pass; VelMessageOf gives the text).  They
// print nothing.  On failure the arguments are left as far as they were filled in.

// Checks the mode and fills in its defaults: a write gets its three new-domain policies
// (making drawers for new domain unless the caller chose otherwise), oldDomainOverwrite and
// makeNewDrawer; a read gets requireReadCoverage; lookInOnlyOneDrawer is defined unless a new
// drawer is made.  Choices that do not apply to the transfer become undefined.
VEL_API VelArgsErrorKey VelNormalizeArgs(VelTransferArgs& args);

// Checks the view against a distribution's grid: one selection per grid collection, each
// naming a different collection of the grid, and ordinal ranges with 0 <= i <= j.
VEL_API VelArgsErrorKey VelNormalizeArgs(VelRangeViewArgs& view, const VelGrid& grid);

// The check a transfer runs: the view, then the mode, then the rules that tie them together
// (sparse serialization against nonzero counts and chunk sizes, chunk sizes against the grid,
// no ordinal ranges for a new drawer).
VEL_API VelArgsErrorKey VelNormalizeArgs(VelRangeViewArgs& view, VelTransferArgs& args,
                                         const VelGrid& grid);

#endif
