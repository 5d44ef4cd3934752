#ifndef VEL_VEL_H
#define VEL_VEL_H

// The umbrella header: every public header of the library.

// platform
#include "vel/platform/UTI_Modules.h"
#include "vel/platform/aio_Stream.h"
#include "vel/platform/atr_String.h"
#include "vel/platform/cls_Uid.h"
#include "vel/platform/cow_1DArray.h"
#include "vel/platform/cow_String.h"
#include "vel/platform/mem_Memory.h"
#include "vel/platform/nex_Exception.h"
#include "vel/platform/omi_BlkBitVect.h"
#include "vel/platform/omi_Swapper.h"

// core
#include "vel/UTI_VelDynamicAPI.h"
#include "vel/core/VelArgsErrorKey.h"
#include "vel/core/VelArray.h"
#include "vel/core/VelAssert.h"
#include "vel/core/VelAutoArray.h"
#include "vel/core/VelAutoBtree.h"
#include "vel/core/VelAutoPtr.h"
#include "vel/core/VelBtree.h"
#include "vel/core/VelHolder.h"
#include "vel/core/VelIdAsString.h"
#include "vel/core/VelReference.h"
#include "vel/core/VelTypeKey.h"

// cache
#include "vel/cache/che_Cache.h"
#include "vel/cache/che_Handle.h"
#include "vel/cache/che_Key.h"
#include "vel/cache/che_Module.h"
#include "vel/cache/che_RefPtr.h"

// hdf
#include "vel/hdf/hdf_Attribute.h"
#include "vel/hdf/hdf_CompoundBuilder.h"
#include "vel/hdf/hdf_CoordArray.h"
#include "vel/hdf/hdf_Dataset.h"
#include "vel/hdf/hdf_Dataspace.h"
#include "vel/hdf/hdf_Datatype.h"
#include "vel/hdf/hdf_DimArray.h"
#include "vel/hdf/hdf_DimSpace.h"
#include "vel/hdf/hdf_ErrorCode.h"
#include "vel/hdf/hdf_Exception.h"
#include "vel/hdf/hdf_File.h"
#include "vel/hdf/hdf_Group.h"
#include "vel/hdf/hdf_Module.h"
#include "vel/hdf/hdf_Object.h"
#include "vel/hdf/hdf_PropList.h"
#include "vel/hdf/hdf_Reference.h"
#include "vel/hdf/hdf_Utils.h"

// context
#include "vel/context/VelCSet.h"
#include "vel/context/VelCSetID.h"
#include "vel/context/VelCollectionID.h"
#include "vel/context/VelCollectionRef.h"
#include "vel/context/VelCompartment.h"
#include "vel/context/VelContextID.h"
#include "vel/context/VelContextRef.h"
#include "vel/context/VelCtation.h"
#include "vel/context/VelDSetID.h"
#include "vel/context/VelDistributionID.h"
#include "vel/context/VelDistributionRef.h"
#include "vel/context/VelDynamicID.h"
#include "vel/context/VelGrid.h"
#include "vel/context/VelIDExternal.h"
#include "vel/context/VelManager.h"
#include "vel/context/VelOCompartment.h"
#include "vel/context/VelRangeType.h"
#include "vel/context/VelRangeValue.h"
#include "vel/context/VelVersion.h"
#include "vel/context/dpa_Module.h"

// transfer
#include "vel/transfer/VelDimSelection.h"
#include "vel/transfer/VelNormalizeArgs.h"
#include "vel/transfer/VelOptionalFlag.h"
#include "vel/transfer/VelRangeViewArgs.h"
#include "vel/transfer/VelSerializationType.h"
#include "vel/transfer/VelTransferArgs.h"

// types
#include "vel/types/VelRecHandle.h"
#include "vel/types/VelRecType.h"
#include "vel/types/VelRecTypeAssociationMember.h"
#include "vel/types/VelRecTypeDataRecordMember.h"
#include "vel/types/VelRecTypeExpandedDataRecord.h"
#include "vel/types/VelRecTypeFactory.h"
#include "vel/types/VelTypeAssociation.h"
#include "vel/types/VelTypeCategories.h"
#include "vel/types/VelTypeDataRecord.h"
#include "vel/types/VelTypeDataRecordFlat.h"
#include "vel/types/VelTypeDataRecordMember.h"
#include "vel/types/VelTypeForm.h"
#include "vel/types/VelTypeFormManager.h"
#include "vel/types/VelTypeFormSchema.h"
#include "vel/types/VelTypeID.h"
#include "vel/types/VelTypeRef.h"
#include "vel/types/VelTypeRegistry.h"
#include "vel/types/VelTypeSchemaSnapshot.h"
#include "vel/types/VelTypesForm.h"

// views

#endif
