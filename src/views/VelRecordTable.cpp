#include "views/VelRecordTable.h"

#include <algorithm>
#include <set>
#include <string>

#include "vel/core/VelAssert.h"
#include "vel/hdf/hdf_CompoundBuilder.h"
#include "views/VelStoreIO.h"

namespace {

hdf_Datatype MemberType(VelRecTypeDataCategory category) {
    switch (category) {
        case VelRecTypeCategoryBoolean:
        case VelRecTypeCategoryChar:
        case VelRecTypeCategoryString:
            return hdf_Datatype::STD_U32BE();
        case VelRecTypeCategoryShort:
        case VelRecTypeCategoryInteger:
        case VelRecTypeCategorySymConst:
            return hdf_Datatype::STD_I32BE();
        case VelRecTypeCategoryInt64:
            return hdf_Datatype::STD_I64BE();
        case VelRecTypeCategoryFloat:
            return hdf_Datatype::IEEE_F32BE();
        case VelRecTypeCategoryDouble:
            return hdf_Datatype::IEEE_F64BE();
    }
    VelASSERT(!"Unrecognized data record member category!");
    return hdf_Datatype();
}

// Field names must be unique within a compound; a name used twice (a derived type may repeat a
// base member's name) gets its position appended.
std::string UniqueName(std::set<std::string>& used, const std::string& name, int position) {
    std::string field = name.empty() ? "member" : name;
    if (!used.insert(field).second) {
        field += "#" + std::to_string(position);
        used.insert(field);
    }
    return field;
}

hdf_Datatype IdentifierType(int size) {
    if (size == 4) return hdf_Datatype::STD_I32BE();
    if (size == 8) {
        hdf_CompoundBuilder words(8);
        words.Insert("first", hdf_Datatype::STD_I32BE());
        words.Insert("second", hdf_Datatype::STD_I32BE());
        return hdf_Datatype(words);
    }
    hdf_CompoundBuilder dynamic(20);
    dynamic.Insert("category", hdf_Datatype::STD_I32BE());
    dynamic.Insert("first", hdf_Datatype::STD_I64BE());
    dynamic.Insert("second", hdf_Datatype::STD_I64BE());
    return hdf_Datatype(dynamic);
}

}  // namespace

VelRowLayout::VelRowLayout(const VelRecTypeDataRecord& type, const VelTypeRegistry& registry)
    : m_category(VelCategoryDataRecord), m_record(std::in_place, type, registry) {
    m_width = e_SerialSize + m_record->RecordSize();
    hdf_CompoundBuilder builder(m_width);
    std::set<std::string> used{"serial"};
    builder.Insert("serial", hdf_Datatype::STD_I64BE());
    m_members.SetSize(m_record->MemberCount());
    for (int i = 0; i < m_record->MemberCount(); ++i) {
        const VelRecTypeDataRecordMember& member = m_record->Member(i);
        m_members[i].category = member.Category();
        m_members[i].offset = m_record->MemberOffset(i);
        if (member.Category() == VelRecTypeCategorySymConst)
            m_members[i].limit = VelRecTypeSymConst(member).LimitValue();
        builder.Insert(UniqueName(used, member.Name().str(), i).c_str(),
                       MemberType(member.Category()));
    }
    m_type = hdf_Datatype(builder);
}

VelRowLayout::VelRowLayout(const VelRecTypeAssociation& type, VelPairRowTypes& types)
    : m_category(VelCategoryAssociation), m_association(type) {
    for (int k = 0; k < 2; ++k) {
        m_idSize[k] = type.Member(k).IDSize();
        m_keySize[k] = type.Member(k).KeySize();
        m_idOffset[k] = m_width;
        m_keyOffset[k] = m_width + m_idSize[k];
        m_width += m_idSize[k] + m_keySize[k];
    }
    m_type = types.TypeOf(type);
}

const hdf_Datatype& VelPairRowTypes::TypeOf(const VelRecTypeAssociation& type) {
    std::array<int, 6> shape;
    for (int k = 0; k < 2; ++k) {
        shape[3 * k] = type.Member(k).IDSize();
        shape[3 * k + 1] = type.Member(k).KeySize();
        shape[3 * k + 2] = type.Member(k).Option() == VelRecTypeOrdered;
    }
    const auto known = m_types.find(shape);
    if (known != m_types.end()) return known->second;
    static const char* const idNames[2] = {"first", "second"};
    static const char* const keyNames[2] = {"firstKey", "secondKey"};
    hdf_CompoundBuilder builder(shape[0] + shape[1] + shape[3] + shape[4]);
    for (int k = 0; k < 2; ++k) {
        builder.Insert(idNames[k], IdentifierType(shape[3 * k]));
        if (shape[3 * k + 1] == 0) continue;
        builder.Insert(keyNames[k],
                       shape[3 * k + 2] ? hdf_Datatype::STD_I32BE() : hdf_Datatype::STD_U32BE());
    }
    return m_types.emplace(shape, hdf_Datatype(builder)).first->second;
}

const VelRecHandle<VelRowBlock>& VelTableCache::Load(const hdf_Dataset& table,
                                                     const VelRowLayout& layout, int64_t rows,
                                                     int64_t row) {
    const int64_t number = row / e_BlockRows;
    auto found = m_Blocks.find(number);
    if (found == m_Blocks.end()) {
        const int64_t first = number * e_BlockRows;
        const int64_t count = std::min(rows - first, e_BlockRows);
        VelRecHandle<VelRowBlock> block(new VelRowBlock(first, count, layout.Width()));
        VelStoreIO::ReadCheckedRows(table, layout.Type(), first, count, block->Data());
        const int64_t bytes = count * layout.Width();
        while (!m_Order.empty() && m_Bytes + bytes > e_MaxBytes) {
            const auto oldest = m_Blocks.find(m_Order.front());
            m_Bytes -= oldest->second->Rows() * layout.Width();
            m_Blocks.erase(oldest);
            m_Order.pop_front();
        }
        m_Order.push_back(number);
        m_Bytes += bytes;
        found = m_Blocks.emplace(number, block).first;
    }
    m_Last = found->second;
    return m_Last;
}

void VelTableCache::Clear() {
    m_Blocks.clear();
    m_Order.clear();
    m_Bytes = 0;
    m_Last = VelRecHandle<VelRowBlock>();
}
