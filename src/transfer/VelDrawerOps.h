#ifndef VEL_TRANSFER_VELDRAWEROPS_H
#define VEL_TRANSFER_VELDRAWEROPS_H

#include "transfer/VelDrawerIO.h"

// The operations of the library's drawer layer (VelDrawerLayer), one per VelDrawerIO call.

// Standard serialization (VelDenseDrawers.cpp).
void VelReadDense(const VelDrawerRequest& request);
void VelWriteDense(const VelDrawerRequest& request);
void VelCreateDenseDrawer(const VelDrawerRequest& request);
void VelInitializeDrawer(const VelDrawerRequest& request, const VelRangeValue& value);

// Sparse serializations (VelSparseDrawers.cpp).
VelDrawerBufferLayout VelSparseLayout(const VelDistributionRef& distribution,
                                      const VelDrawerID& drawer);
void VelReadSparse(const VelDrawerRequest& request);
void VelWriteSparse(const VelDrawerRequest& request);
void VelCreateSparseDrawer(const VelDrawerRequest& request);

#endif
