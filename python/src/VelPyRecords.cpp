// The record side: a database's published views, the record types registered in each (listed
// by the view itself, so no schema is needed; a schema only names them), data records as dicts
// of member values and associations as pairs of participants.
#include <cstdint>
#include <memory>

#include "VelPyContext.h"

namespace {

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

// Member `i` of `record` through one of its typed getters.
template <class T>
T Get(const VelDataRecord& record, int i, void (VelDataRecord::*getter)(int, T&) const) {
    T value{};
    (record.*getter)(i, value);
    return value;
}

py::object MemberValue(const VelDataRecord& record, int i) {
    switch (record.MemberCategory(i)) {
        case VelRecTypeCategoryBoolean:
            return py::bool_(Get(record, i, &VelDataRecord::GetBool));
        case VelRecTypeCategoryChar:
            return py::int_(Get(record, i, &VelDataRecord::GetOctet));
        case VelRecTypeCategoryShort:
            return py::int_(Get(record, i, &VelDataRecord::GetShort));
        case VelRecTypeCategoryInteger:
            return py::int_(Get(record, i, &VelDataRecord::GetInt));
        case VelRecTypeCategoryInt64:
            return py::int_(Get(record, i, &VelDataRecord::GetInt64));
        case VelRecTypeCategoryFloat:
            return py::float_(Get(record, i, &VelDataRecord::GetFloat));
        case VelRecTypeCategoryDouble:
            return py::float_(Get(record, i, &VelDataRecord::GetDouble));
        case VelRecTypeCategoryString:
            return py::str(record.ReturnString(i).c_str());
        case VelRecTypeCategorySymConst:
            return py::int_(Get(record, i, &VelDataRecord::GetSymb));
    }
    VelPyFail("a record member of unknown category");
}

// A published view with the context it was read from; opened with a schema, its types have
// the schema's names.
struct View {
    VelPyContextPtr context;
    // The manager of the schema's snapshot, which names types only while it lives; it outlives
    // the view that holds the snapshot.
    std::shared_ptr<VelTypeFormManagerHolder> forms;
    VelViewRead view;

    // A type by its schema name or by the text of its identifier ("<form>#<ordinal>").
    VelTypeID TypeNamed(const std::string& text) const {
        const VelArray<VelViewTypeEntry> entries = view.TypeEntries();
        for (int i = 0; i < entries.Size(); ++i)
            if (entries[i].SchemaName() == text.c_str() ||
                entries[i].TypeID().ToString() == text.c_str())
                return entries[i].TypeID();
        VelPyFail("no type \"" + text + "\" in view " + view.Name().c_str());
    }

    py::dict TypeDict(const VelViewTypeEntry& entry) const {
        py::dict out;
        out["id"] = entry.TypeID().ToString().c_str();
        out["form"] = entry.TypeID().FormName().c_str();
        out["ordinal"] = entry.TypeID().Ordinal();
        out["name"] = entry.SchemaName().str().empty() ? py::object(py::none())
                                                       : py::str(entry.SchemaName().c_str());
        out["count"] = entry.Count();
        const VelRecType type = view.Type(entry.TypeID());
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

    // A data record as its dict, the view's focus as "focus", a bulk-data object as its handle.
    py::object Participant(const VelDynamicID& id) const {
        if (id == view.FocusID()) return py::str("focus");
        if (id.Category() == VelCategoryDataRecord) return RecordDict(id);
        return VelPyObjectOf(context, id);
    }

    // The pairs (first, second) of an association, grouped by first participant in the order
    // of their first pairs, each group in the association's own order.
    py::list Pairs(const std::string& typeName) const {
        const VelTypeID typeID = TypeNamed(typeName);
        const VelAssociation association = view.Association(view.AssociationID(typeID));
        const VelArray<VelDynamicID> firsts = association.Participants(0);
        py::list out;
        for (int f = 0; f < firsts.Size(); ++f) {
            const py::object first = Participant(firsts[f]);
            const VelSelectionList partners(association, 0, firsts[f]);
            for (int i = 0; i < partners.Count(); ++i)
                out.append(py::make_tuple(first, Participant(partners.Get(i))));
        }
        return out;
    }
};

// With a schema, the view is opened through the schema's snapshot of the form at that level,
// which the library checks against the view's stored types.
View OpenView(const VelPyContextPtr& context, const std::string& form, int level,
              const py::object& schema) {
    VelPyLocked lock;
    const VelContextRef ref = context->Ref();
    if (schema.is_none()) return View{context, {}, ref.View(cow_String(form.c_str()), level)};
    auto forms = std::make_shared<VelTypeFormManagerHolder>(VelTypeFormManager::New());
    forms->Get().ParseQARN(cow_String(schema.cast<std::string>().c_str()));
    const VelTypeForm parsed = forms->Get().GetForm(cow_String(form.c_str()));
    if (!parsed) VelPyFail("the schema has no form \"" + form + "\"");
    const VelViewRead view = ref.View(forms->Get().GetSchemaSnapshot(parsed, level));
    return View{context, forms, view};
}

py::dict ViewEntryDict(const VelViewEntry& entry) {
    py::dict out;
    out["name"] = entry.Name().c_str();
    out["form"] = entry.FormName().c_str();
    out["level"] = entry.Level();
    out["edition"] = entry.Edition();
    out["published"] = entry.IsPublished();
    out["latest"] = entry.IsLatestPublished();
    return out;
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
                                   const VelArray<VelViewTypeEntry> entries = v.view.TypeEntries();
                                   for (int i = 0; i < entries.Size(); ++i)
                                       out.append(v.TypeDict(entries[i]));
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
        .def_property_readonly(
            "views",
            [](const VelPyContextPtr& c) {
                VelPyLocked lock;
                const VelArray<VelViewEntry> entries = c->Ref().ViewEntries();
                py::list out;
                for (int i = 0; i < entries.Size(); ++i)
                    if (entries[i].IsLatestPublished())
                        out.append(
                            py::make_tuple(entries[i].FormName().c_str(), entries[i].Level()));
                return out;
            },
            "(form, level) of every published view, as view() opens them.")
        .def_property_readonly(
            "view_entries",
            [](const VelPyContextPtr& c) {
                VelPyLocked lock;
                const VelArray<VelViewEntry> entries = c->Ref().ViewEntries();
                py::list out;
                for (int i = 0; i < entries.Size(); ++i) out.append(ViewEntryDict(entries[i]));
                return out;
            },
            "Every view of the file, published or not: name, form, level, edition, published, "
            "latest (the edition view() opens).")
        .def("view", &OpenView, py::arg("form"), py::arg("level"), py::arg("schema") = py::none(),
             "The latest published view of a form and level; a QARN schema names its types.");
}
