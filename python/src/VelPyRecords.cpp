// The record side: a database's published views, the record types registered in each (found
// through the view itself, so no schema is needed; a schema only names them), data records as
// dicts of member values and associations as pairs of participants.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <set>

#include "VelPyContext.h"

namespace {

// The (form, level) of every view group "<form>-<level>-<edition>" of the record store; form
// names may hold "-" themselves, so the name is split at its last two.
std::set<std::pair<std::string, int>> ViewGroups(const VelContextRef& context) {
    std::set<std::pair<std::string, int>> out;
    const hdf_File file = context.File();
    if (!file.GetObjinfoExists("record")) return out;
    for (const cow_String& member : file.GroupOpen("record").MemberNames()) {
        const std::string name = member.c_str();
        const size_t edition = name.rfind('-');
        if (edition == std::string::npos || edition == 0) continue;
        const size_t level = name.rfind('-', edition - 1);
        if (level == std::string::npos) continue;
        out.emplace(name.substr(0, level), std::atoi(name.substr(level + 1).c_str()));
    }
    return out;
}

const char* OptionName(VelRecTypeAssociationMemberOption option) {
    switch (option) {
        case VelRecTypeOrdered:
            return "ordered";
        case VelRecTypeStringKey:
            return "string_key";
        default:
            return "unordered";
    }
}

const char* EntityKindName(int kind) {
    switch (kind) {
        case VelEntityCollection:
            return "collection";
        case VelEntityDistribution:
            return "distribution";
        case VelEntityDSet:
            return "dset";
        case VelEntityCSet:
            return "cset";
        case VelEntityDrawer:
            return "drawer";
        case VelEntityDataRecord:
            return "record";
        case VelEntityViewFocus:
            return "focus";
        default:
            return "other";
    }
}

py::object MemberValue(const VelDataRecord& record, int i) {
    switch (record.MemberCategory(i)) {
        case VelRecTypeCategoryBoolean: {
            bool v = false;
            record.GetBool(i, v);
            return py::bool_(v);
        }
        case VelRecTypeCategoryChar: {
            unsigned char v = 0;
            record.GetOctet(i, v);
            return py::int_(v);
        }
        case VelRecTypeCategoryShort: {
            short v = 0;
            record.GetShort(i, v);
            return py::int_(v);
        }
        case VelRecTypeCategoryInteger: {
            int v = 0;
            record.GetInt(i, v);
            return py::int_(v);
        }
        case VelRecTypeCategoryInt64: {
            int64_t v = 0;
            record.GetInt64(i, v);
            return py::int_(v);
        }
        case VelRecTypeCategoryFloat: {
            float v = 0;
            record.GetFloat(i, v);
            return py::float_(v);
        }
        case VelRecTypeCategoryDouble: {
            double v = 0;
            record.GetDouble(i, v);
            return py::float_(v);
        }
        case VelRecTypeCategoryString:
            return py::str(record.ReturnString(i).c_str());
        case VelRecTypeCategorySymConst: {
            int v = 0;
            record.GetSymb(i, v);
            return py::int_(v);
        }
    }
    VelPyFail("a record member of unknown category");
}

// A published view with the context it was read from, and optional names of its types from a
// schema the caller gave.
struct View {
    VelPyContextPtr context;
    VelViewRead view;
    std::map<std::string, std::string> typeNames;

    // The registered types.  A view lists no types through the public interface, so the
    // ordinals of its form are tried in turn (a type's ordinal is its place in its form), and
    // of every form a found type refers to, until e_OrdinalGap ordinals in a row are missing.
    std::vector<VelTypeID> TypeIDs() const {
        std::vector<VelTypeID> out;
        std::vector<std::string> forms = {view.FormName().c_str()};
        for (size_t f = 0; f < forms.size(); ++f) {
            for (int ordinal = 0, missing = 0; missing < e_OrdinalGap; ++ordinal) {
                const VelTypeID id(cow_String(forms[f].c_str()), ordinal);
                VelRecType type;
                if (!VelPyQuietly([&] { type = view.Type(id); })) {
                    ++missing;
                    continue;
                }
                missing = 0;
                out.push_back(id);
                for (const VelTypeID& other : ReferredTypes(type)) {
                    const std::string form = other.FormName().c_str();
                    if (std::find(forms.begin(), forms.end(), form) == forms.end())
                        forms.push_back(form);
                }
            }
        }
        return out;
    }

    static constexpr int e_OrdinalGap = 64;

    static std::vector<VelTypeID> ReferredTypes(const VelRecType& type) {
        std::vector<VelTypeID> out;
        if (type.Category() == VelCategoryDataRecord) {
            const VelTypeID& base = VelRecTypeDataRecord(type).BaseTypeID();
            if (!base.IsNull()) out.push_back(base);
            return out;
        }
        const VelRecTypeAssociation association(type);
        for (int m = 0; m < 2; ++m)
            for (int i = 0; i < association.Member(m).EntityTypeCount(); ++i)
                out.push_back(association.Member(m).EntityType(i));
        return out;
    }

    VelTypeID TypeNamed(const std::string& text) const {
        for (const auto& entry : typeNames)
            if (entry.second == text) return VelTypeID::FromString(entry.first.c_str());
        const VelTypeID id = VelTypeID::FromString(text.c_str());
        if (id.IsNull()) VelPyFail("no type \"" + text + "\" in view " + view.Name().c_str());
        return id;
    }

    py::dict TypeDict(const VelTypeID& id) const {
        py::dict out;
        const std::string text = id.ToString().c_str();
        out["id"] = text;
        const auto name = typeNames.find(text);
        out["name"] = name == typeNames.end() ? py::object(py::none()) : py::str(name->second);
        const VelRecType type = view.Type(id);
        if (type.Category() == VelCategoryDataRecord) {
            const VelRecTypeDataRecord record(type);
            out["category"] = "record";
            out["base"] = record.BaseTypeID().IsNull()
                              ? py::object(py::none())
                              : py::str(record.BaseTypeID().ToString().c_str());
            py::list members;
            for (int i = 0; i < record.MemberCount(); ++i)
                members.append(py::str(record.Member(i).Name().c_str()));
            out["members"] = members;
        } else {
            const VelRecTypeAssociation association(type);
            out["category"] = "association";
            py::list members;
            for (int m = 0; m < 2; ++m) {
                const VelRecTypeAssociationMember& member = association.Member(m);
                py::dict d;
                d["role"] = member.RoleName().c_str();
                d["kind"] = EntityKindName(member.Category());
                d["option"] = OptionName(member.Option());
                members.append(d);
            }
            out["members"] = members;
        }
        return out;
    }

    py::dict RecordDict(const VelDynamicID& id) const {
        const VelDataRecord record = view.DataRecord(id);
        py::dict out;
        out["_id"] = VelPyIdTuple(id);
        out["_type"] = record.TypeID().ToString().c_str();
        for (int i = 0; i < record.MemberCount(); ++i)
            out[py::str(record.Member(i).Name().c_str())] = MemberValue(record, i);
        return out;
    }

    py::list Records(const std::string& typeName) const {
        const VelArray<VelDynamicID> ids = view.DataRecordIDs(TypeNamed(typeName));
        py::list out;
        for (int i = 0; i < ids.Size(); ++i) out.append(RecordDict(ids[i]));
        return out;
    }

    // Every identifier that can take part as member 0 of `association`, by the member's kind.
    std::vector<VelDynamicID> Candidates(const VelRecTypeAssociationMember& member) const {
        std::vector<VelDynamicID> out;
        const VelContextRef context = this->context->Ref();
        switch (member.Category()) {
            case VelEntityViewFocus:
                out.push_back(view.FocusID());
                break;
            case VelEntityDataRecord:
                for (const VelTypeID& t : TypeIDs()) {
                    if (view.Type(t).Category() != VelCategoryDataRecord) continue;
                    const VelArray<VelDynamicID> ids = view.DataRecordIDs(t);
                    for (int i = 0; i < ids.Size(); ++i) out.push_back(ids[i]);
                }
                break;
            case VelEntityCollection:
                Append(context.Collections(), out);
                break;
            case VelEntityDistribution:
                Append(context.Distributions(), out);
                break;
            case VelEntityDSet:
                Append(context.DSets(), out);
                break;
            case VelEntityCSet: {
                const VelArray<VelCollectionID> collections = context.Collections();
                for (int c = 0; c < collections.Size(); ++c)
                    for (const VelCSetID& id : this->context->StoredCSets(collections[c]))
                        out.push_back(id.DynamicID());
                break;
            }
            case VelEntityDrawer: {
                const VelArray<VelDistributionID> distributions = context.Distributions();
                for (int d = 0; d < distributions.Size(); ++d)
                    Append(VelDistributionRef(distributions[d]).Drawers(), out);
                break;
            }
            default:
                VelPyFail("association members of kind " + std::to_string(member.Category()) +
                          " cannot be listed");
        }
        return out;
    }

    template <class ID>
    static void Append(const VelArray<ID>& ids, std::vector<VelDynamicID>& out) {
        for (int i = 0; i < ids.Size(); ++i) out.push_back(ids[i].DynamicID());
    }

    // A data record as its dict, the view's focus as "focus", a bulk-data object as its handle.
    py::object Participant(const VelDynamicID& id) const {
        if (id == view.FocusID()) return py::str("focus");
        if (id.Category() == VelCategoryDataRecord) return RecordDict(id);
        return VelPyObjectOf(context, id);
    }

    // The pairs (first, second) of an association, grouped by first participant in the order
    // of the candidates, each group in the association's own order.
    py::list Pairs(const std::string& typeName) const {
        const VelTypeID typeID = TypeNamed(typeName);
        const VelAssociation association = view.Association(view.AssociationID(typeID));
        py::list out;
        int found = 0;
        for (const VelDynamicID& first : Candidates(association.Member(0))) {
            if (found == association.PairCount()) break;
            const VelSelectionList partners(association, 0, first);
            for (int i = 0; i < partners.Count(); ++i, ++found)
                out.append(py::make_tuple(Participant(first), Participant(partners.Get(i))));
        }
        if (found != association.PairCount())
            VelPyFail("association " + typeName + " holds pairs whose participants are not found");
        return out;
    }
};

View OpenView(const VelPyContextPtr& context, const std::string& form, int level,
              const py::object& schema) {
    VelPyLocked lock;
    View v{context, context->Ref().View(cow_String(form.c_str()), level), {}};
    if (schema.is_none()) return v;
    const VelTypeFormManagerHolder forms = VelTypeFormManager::New();
    forms.Get().ParseQARN(cow_String(schema.cast<std::string>().c_str()));
    const VelTypeForm parsed = forms.Get().GetForm(cow_String(form.c_str()));
    if (!parsed) VelPyFail("the schema has no form \"" + form + "\"");
    const VelTypeSchemaSnapshot snapshot = forms.Get().GetSchemaSnapshot(parsed, level);
    for (int i = 0; i < snapshot.TypeCount(); ++i)
        v.typeNames[snapshot.TypeID(i).ToString().c_str()] = snapshot.TypeName(i).c_str();
    return v;
}

}  // namespace

void VelPyBindRecords(py::module_& m) {
    py::class_<View>(m, "View", "A published view of typed records")
        .def_property_readonly("name",
                               [](const View& v) { return std::string(v.view.Name().c_str()); })
        .def_property_readonly("form",
                               [](const View& v) { return std::string(v.view.FormName().c_str()); })
        .def_property_readonly("level", [](const View& v) { return v.view.Level(); })
        .def_property_readonly("edition", [](const View& v) { return v.view.Edition(); })
        .def_property_readonly("types",
                               [](const View& v) {
                                   VelPyLocked lock;
                                   py::list out;
                                   for (const VelTypeID& id : v.TypeIDs())
                                       out.append(v.TypeDict(id));
                                   return out;
                               })
        .def(
            "records",
            [](const View& v, const std::string& type) {
                VelPyLocked lock;
                return v.Records(type);
            },
            py::arg("type"), "The records of exactly that type, as dicts of member values.")
        .def(
            "pairs",
            [](const View& v, const std::string& type) {
                VelPyLocked lock;
                return v.Pairs(type);
            },
            py::arg("type"), "The pairs of an association type, as (first, second) tuples.");

    py::class_<VelPyContext, VelPyContextPtr> context =
        py::reinterpret_borrow<py::class_<VelPyContext, VelPyContextPtr>>(m.attr("Context"));
    context
        .def_property_readonly("views",
                               [](const VelPyContextPtr& c) {
                                   VelPyLocked lock;
                                   const VelContextRef ref = c->Ref();
                                   py::list out;
                                   for (const auto& fl : ViewGroups(ref))
                                       if (ref.HasView(cow_String(fl.first.c_str()), fl.second))
                                           out.append(py::make_tuple(fl.first, fl.second));
                                   return out;
                               })
        .def("view", &OpenView, py::arg("form"), py::arg("level"), py::arg("schema") = py::none(),
             "The latest published view of a form and level; a QARN schema names its types.");
}
