#include "vel/transfer/VelSerializationType.h"

#include "VelTestIDs.h"
#include "VelTestSupport.h"

namespace {

TEST(VelSerializationTypeTest, UniformDimensionsAndPrintForms) {
    VelSerializationType type;
    EXPECT_EQ(TestText(type), "StandardSerialization");
    type.SetUniform(1, 3);
    EXPECT_EQ(type.Key(), VelUniformitySerialization);
    EXPECT_EQ(TestText(type), "UniformitySerialization, uniform dims = ( 0 1 0 )");
    type.SetUniform(2, -1);
    EXPECT_EQ(TestText(type.UniformDims()), "( 0 1 1 )");

    EXPECT_EQ(TestText(type.SetStandard().SetSparseSym()), "SparseSymSerialization");
    EXPECT_TRUE(type.IsSparse());
    EXPECT_EQ(type.UniformDims().Size(), 0);
    EXPECT_STREQ(VelstringNameOf(VelVoidSerialization), "VoidSerialization");
    EXPECT_STREQ(VelstringNameOf(VelSerializationKey(5)), "<? unknown serialization ?>");
}

TEST(VelSerializationTypeDeathTest, RefusedChanges) {
    VelSerializationType uniform;
    uniform.SetUniform(0, 2);
    ExpectValidateFailure(uniform.SetSparse(), "m_key == VelStandardSerialization");
    ExpectValidateFailure(uniform.SetUniform(0, 3), "nDim == m_uniformDims.Size()");
    ExpectValidateFailure(uniform.SetUniform(2, -1), "dim < nDim");
    VelSerializationType sparse;
    sparse.SetSparse();
    ExpectValidateFailure(sparse.SetSparseSym(), "m_key == VelStandardSerialization");
    ExpectValidateFailure(sparse.SetUniform(0, 1), "m_key == VelStandardSerialization");
    ExpectValidateFailure(VelSerializationType().SetUniform(0, 0), "nDim>0");
}

}  // namespace
