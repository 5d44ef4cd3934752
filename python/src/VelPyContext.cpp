// Contexts and the bulk data below the results layer: collections and their CSets,
// distributions with their drawers, and DSets.  A drawer's values are read into arrays NumPy
// allocates, shaped by the drawer's CSets (dense) or as compressed sparse rows.
#include "VelPyContext.h"

#include <cstdint>
#include <fstream>
#include <functional>
#include <sstream>

namespace {

template <class ID>
py::list HandleList(const VelPyContextPtr& context, const VelArray<ID>& ids) {
    py::list out;
    for (int i = 0; i < ids.Size(); ++i) out.append(VelPyHandle<ID>{context, ids[i]});
    return out;
}

const char* SerializationName(VelSerializationKey key) {
    switch (key) {
        case VelSparseSerialization:
            return "sparse";
        case VelSparseSymSerialization:
            return "sparse_symmetric";
        default:
            return "standard";
    }
}

const char* RangeKeyName(VelTypeKey key) {
    switch (key) {
        case VelTypeKeyInt:
            return "int";
        case VelTypeKeyDouble:
            return "double";
        case VelTypeKeyFloat:
            return "float";
        case VelTypeKeyBool:
            return "bool";
        case VelTypeKeyCMember:
            return "cmember";
        case VelTypeKeyCSet:
            return "cset";
        case VelTypeKeyOCSet:
            return "ocset";
    }
    return "?";
}

VelTypeKey RangeKeyNamed(const std::string& name) {
    for (int k = VelTypeKeyInt; k <= VelTypeKeyOCSet; ++k)
        if (name == RangeKeyName(VelTypeKey(k))) return VelTypeKey(k);
    VelPyFail("unknown range type \"" + name +
              "\" (int, double, float, bool, cmember, cset, ocset)");
}

// The array `values` as a C-contiguous array of `dtype`, converted as NumPy converts.
py::array ConvertedArray(const py::handle& values, const py::dtype& dtype, const char* what) {
    try {
        return py::module_::import("numpy").attr("ascontiguousarray")(values, dtype);
    } catch (const py::error_already_set& e) {
        VelPyFail(std::string(what) + ": " + e.what());
    }
}

// Gives the buffers to `transfer`, runs `work`, and takes them back on every path: a transfer
// may not be destroyed while it holds a caller's buffer.
template <class Work>
void WithBuffers(VelTransfer& transfer, const std::vector<void*>& buffers, Work&& work) {
    for (size_t e = 0; e < buffers.size(); ++e)
        if (buffers[e]) transfer.SetBuffer(int(e), buffers[e], transfer.RequiredBufferSize(int(e)));
    try {
        work();
    } catch (...) {
        transfer.RelinquishBuffers();
        throw;
    }
    transfer.RelinquishBuffers();
}

// A new array for buffer `e` of a checked transfer, of the element type the drawer keeps there.
py::array BufferArray(const VelTransfer& transfer, const VelDrawerDescription& description, int e,
                      VelTypeKey mainKey) {
    const VelTypeKey key = e == VelbufMain ? mainKey : description.DataKeys()[e];
    const py::dtype dtype = VelPyDtypeOf(key);
    const int bytes = transfer.RequiredBufferSize(e);
    if (bytes % dtype.itemsize() != 0) VelPyFail("a buffer size is no multiple of its elements");
    return py::array(dtype, std::vector<py::ssize_t>{py::ssize_t(bytes / dtype.itemsize())});
}

py::object ReadDense(const VelPyDrawer& d, const VelDrawerDescription& description) {
    const VelDistributionRef distribution(d.id.DistributionID());
    VelTransfer transfer(distribution);
    transfer.SetRead().SetDrawer(d.id).SetBufferPadding(false).SetDims(description.Compartment());
    transfer.CheckView();
    std::vector<py::ssize_t> shape;
    for (int k = 0; k < description.Sizes().Size(); ++k) shape.push_back(description.Sizes()[k]);
    py::array values(VelPyDtypeOf(distribution.RangeType().TypeKey()), shape);
    if (values.nbytes() != transfer.RequiredBufferSize(VelbufMain))
        VelPyFail("the drawer's sizes do not match its values");
    void* data = values.mutable_data();
    VelPyWithoutGil([&] { WithBuffers(transfer, {data}, [&] { transfer.ExecRead(); }); });
    return std::move(values);
}

py::object ReadSparse(const VelPyDrawer& d, const VelDrawerDescription& description) {
    const VelDistributionRef distribution(d.id.DistributionID());
    VelTransfer transfer(distribution);
    transfer.SetRead().SetDrawer(d.id).SetBufferPadding(false).SetDims(description.Compartment());
    transfer.SetSerialization(description.ReadSerialization()).CheckView();
    const VelTypeKey key = distribution.RangeType().TypeKey();
    py::dict out;
    static const char* const names[] = {"values", "columns", "row_starts", "diagonal"};
    std::vector<void*> buffers;
    for (int e = 0; e < VelTransfer::BufferCount(); ++e) {
        if (transfer.RequiredBufferSize(e) == 0) {
            buffers.push_back(nullptr);
            continue;
        }
        py::array a = BufferArray(transfer, description, e, key);
        buffers.push_back(a.mutable_data());
        out[names[e]] = a;
    }
    VelPyWithoutGil([&] { WithBuffers(transfer, buffers, [&] { transfer.ExecRead(); }); });
    py::list shape;
    for (int k = 0; k < description.Sizes().Size(); ++k) shape.append(description.Sizes()[k]);
    out["shape"] = py::tuple(shape);
    out["symmetric"] = description.IsSymmetric();
    return std::move(out);
}

py::object ReadDrawer(const VelPyDrawer& d) {
    VelPyLocked lock;
    d.context->Ref();
    const VelDrawerDescription description = VelDrawerRef(d.id).Description();
    if (description.Serialization() == VelStandardSerialization) return ReadDense(d, description);
    return ReadSparse(d, description);
}

VelPyCSet CSetOf(const py::handle& obj) {
    try {
        return obj.cast<VelPyCSet>();
    } catch (const py::cast_error&) {
        VelPyFail("expected a CSet");
    }
}

// A new drawer over `csets` from `values`, shaped by the CSets' sizes.
void WriteDense(const VelPyDistribution& d, const std::vector<VelPyCSet>& csets,
                const py::handle& values) {
    VelPyLocked lock;
    d.context->Ref();
    const VelDistributionRef distribution(d.id);
    VelTransfer transfer(distribution);
    transfer.SetMakeNewDrawer().SetBufferPadding(false);
    std::vector<py::ssize_t> shape;
    for (size_t k = 0; k < csets.size(); ++k) {
        transfer.SetDim(int(k), csets[k].id);
        shape.push_back(VelCSet(csets[k].id).Size());
    }
    transfer.CheckView();
    const py::array array =
        ConvertedArray(values, VelPyDtypeOf(distribution.RangeType().TypeKey()), "drawer values");
    if (std::vector<py::ssize_t>(array.shape(), array.shape() + array.ndim()) != shape)
        VelPyFail("drawer values must have the shape of the CSets' sizes");
    void* data = const_cast<void*>(array.data());
    VelPyWithoutGil([&] { WithBuffers(transfer, {data}, [&] { transfer.ExecWrite(); }); });
}

// A new sparse drawer over (rows, columns) from compressed rows; with a diagonal, symmetric:
// `values` then hold the nonzeros above the diagonal.
void WriteSparse(const VelPyDistribution& d, const VelPyCSet& rows, const VelPyCSet& columns,
                 const py::handle& values, const py::handle& columnIndices,
                 const py::handle& rowStarts, const py::object& diagonal) {
    VelPyLocked lock;
    d.context->Ref();
    const VelDistributionRef distribution(d.id);
    const py::dtype dtype = VelPyDtypeOf(distribution.RangeType().TypeKey());
    std::vector<py::array> arrays = {
        ConvertedArray(values, dtype, "values"),
        ConvertedArray(columnIndices, py::dtype::of<int32_t>(), "columns"),
        ConvertedArray(rowStarts, py::dtype::of<int32_t>(), "row_starts")};
    if (!diagonal.is_none()) arrays.push_back(ConvertedArray(diagonal, dtype, "diagonal"));
    for (const py::array& a : arrays)
        if (a.ndim() != 1) VelPyFail("sparse arrays must be one-dimensional");
    if (arrays[0].size() != arrays[1].size())
        VelPyFail("values and columns must have one entry per nonzero");
    VelSerializationType serialization;
    if (diagonal.is_none())
        serialization.SetSparse();
    else
        serialization.SetSparseSym();
    VelTransfer transfer(distribution);
    transfer.SetMakeNewDrawer().SetSparseNNonzero(int(arrays[0].size())).SetBufferPadding(false);
    transfer.SetDims(rows.id, columns.id).SetSerialization(serialization).CheckView();
    std::vector<void*> buffers;
    for (size_t e = 0; e < arrays.size(); ++e) {
        if (arrays[e].nbytes() != transfer.RequiredBufferSize(int(e)))
            VelPyFail(std::string("sparse buffer ") + VelstringNameOf(VelBufferType(e)) + " has " +
                      std::to_string(arrays[e].nbytes()) + " bytes, the drawer needs " +
                      std::to_string(transfer.RequiredBufferSize(int(e))));
        buffers.push_back(const_cast<void*>(arrays[e].data()));
    }
    VelPyWithoutGil([&] { WithBuffers(transfer, buffers, [&] { transfer.ExecWrite(); }); });
}

py::array_t<int> CSetMembers(const VelPyCSet& c, bool ordered) {
    VelPyLocked lock;
    c.context->Ref();
    const VelCSet set(c.id);
    py::array_t<int> out(set.Size());
    int* data = out.mutable_data();
    if (ordered)
        set.OrderedMembers(data);
    else
        set.Members(data);
    return out;
}

VelCSetID NewCSet(const VelPyCollection& c, const py::handle& members, bool ordered) {
    VelPyLocked lock;
    c.context->Ref();
    const auto ids = VelPyIndexArray(members, "CSet members", 1);
    const VelCollectionRef collection(c.id);
    const int count = int(ids.size());
    return ordered ? collection.CreateOrderedCSet(ids.data(), count)
                   : collection.CreateCSet(ids.data(), count);
}

template <class ID>
std::string TextOf(const ID& id) {
    std::ostringstream text;
    text << id;
    return text.str();
}

// Handles are equal when they name the same object of the same open database.
template <class Handle>
bool HandleEquals(const Handle& a, const py::object& other) {
    if (!py::isinstance<Handle>(other)) return false;
    const Handle& b = other.cast<const Handle&>();
    return a.context == b.context && a.id.Compare(b.id) == 0;
}

template <class Handle>
size_t HandleHash(const Handle& h) {
    return std::hash<std::string>()(TextOf(h.id));
}

// "<vel.CSet 0/3/2>": the class and the identifier's text form.
template <class Handle>
std::string HandleRepr(const py::object& self) {
    const std::string name = py::str(self.get_type().attr("__name__"));
    return "<vel." + name + " " + TextOf(self.cast<const Handle&>().id) + ">";
}

void BindCollections(py::module_& m) {
    py::class_<VelPyCollection>(m, "Collection", "A collection: members 0 .. size-1")
        .def_property_readonly("id", [](const VelPyCollection& c) { return TextOf(c.id); })
        .def_property_readonly("size",
                               [](const VelPyCollection& c) {
                                   VelPyLocked lock;
                                   c.context->Ref();
                                   return VelCollectionRef(c.id).Space();
                               })
        .def_property_readonly("csets",
                               [](const VelPyCollection& c) {
                                   VelPyLocked lock;
                                   py::list out;
                                   for (const VelCSetID& id : c.context->StoredCSets(c.id))
                                       out.append(VelPyCSet{c.context, id});
                                   return out;
                               })
        .def("create_cset",
             [](const VelPyCollection& c, const py::handle& members) {
                 return VelPyCSet{c.context, NewCSet(c, members, false)};
             })
        .def("create_ordered_cset",
             [](const VelPyCollection& c, const py::handle& order) {
                 return VelPyCSet{c.context, NewCSet(c, order, true)};
             })
        .def("create_strided_cset",
             [](const VelPyCollection& c, int start, int stride, int count, int block) {
                 VelPyLocked lock;
                 c.context->Ref();
                 return VelPyCSet{c.context, VelCollectionRef(c.id).CreateCSetStrided(
                                                 start, stride, count, block)};
             })
        .def("__eq__", &HandleEquals<VelPyCollection>)
        .def("__hash__", &HandleHash<VelPyCollection>)
        .def("__repr__", &HandleRepr<VelPyCollection>);

    py::class_<VelPyCSet>(m, "CSet", "A stored set of members of a collection")
        .def_property_readonly("id", [](const VelPyCSet& c) { return TextOf(c.id); })
        .def_property_readonly("index", [](const VelPyCSet& c) { return c.id.Index(); })
        .def_property_readonly("collection",
                               [](const VelPyCSet& c) {
                                   return VelPyCollection{c.context, c.id.CollectionID()};
                               })
        .def_property_readonly("size",
                               [](const VelPyCSet& c) {
                                   VelPyLocked lock;
                                   c.context->Ref();
                                   return VelCSet(c.id).Size();
                               })
        .def_property_readonly("is_ascending",
                               [](const VelPyCSet& c) {
                                   VelPyLocked lock;
                                   c.context->Ref();
                                   return VelCSet(c.id).IsAscending();
                               })
        .def_property_readonly(
            "members", [](const VelPyCSet& c) { return CSetMembers(c, true); },
            "The members in the CSet's own order (int32).")
        .def_property_readonly("ascending_members",
                               [](const VelPyCSet& c) { return CSetMembers(c, false); })
        .def("__eq__", &HandleEquals<VelPyCSet>)
        .def("__hash__", &HandleHash<VelPyCSet>)
        .def("__repr__", &HandleRepr<VelPyCSet>);
}

void BindDistributions(py::module_& m) {
    py::class_<VelPyDistribution>(m, "Distribution", "Values laid over a grid of collections")
        .def_property_readonly("id", [](const VelPyDistribution& d) { return TextOf(d.id); })
        .def_property_readonly("grid",
                               [](const VelPyDistribution& d) {
                                   VelPyLocked lock;
                                   d.context->Ref();
                                   const VelGrid& grid = VelDistributionRef(d.id).Grid();
                                   py::list out;
                                   for (int k = 0; k < grid.Size(); ++k)
                                       out.append(VelPyCollection{d.context, grid[k]});
                                   return out;
                               })
        .def_property_readonly(
            "range_type",
            [](const VelPyDistribution& d) {
                VelPyLocked lock;
                d.context->Ref();
                return RangeKeyName(VelDistributionRef(d.id).RangeType().TypeKey());
            })
        .def_property_readonly("range_collection",
                               [](const VelPyDistribution& d) -> py::object {
                                   VelPyLocked lock;
                                   d.context->Ref();
                                   const VelRangeType& t = VelDistributionRef(d.id).RangeType();
                                   if (!t.RefersToCollection()) return py::none();
                                   return py::cast(VelPyCollection{d.context, t.CollectionID()});
                               })
        .def_property_readonly("drawers",
                               [](const VelPyDistribution& d) {
                                   VelPyLocked lock;
                                   d.context->Ref();
                                   return HandleList(d.context, VelDistributionRef(d.id).Drawers());
                               })
        .def("write_drawer", &WriteDense, py::arg("csets"), py::arg("values"),
             "A new drawer over one CSet per grid dimension, from values of their sizes' shape.")
        .def("write_sparse_drawer", &WriteSparse, py::arg("rows"), py::arg("columns"),
             py::arg("values"), py::arg("column_indices"), py::arg("row_starts"),
             py::arg("diagonal") = py::none(),
             "A new sparse drawer from compressed rows; with a diagonal, sparse-symmetric.")
        .def("__eq__", &HandleEquals<VelPyDistribution>)
        .def("__hash__", &HandleHash<VelPyDistribution>)
        .def("__repr__", &HandleRepr<VelPyDistribution>);

    py::class_<VelPyDrawer>(m, "Drawer", "One stored block of a distribution's values")
        .def("__repr__", &HandleRepr<VelPyDrawer>)
        .def_property_readonly("id", [](const VelPyDrawer& d) { return TextOf(d.id); })
        .def_property_readonly("number", [](const VelPyDrawer& d) { return d.id.Minor().Value(); })
        .def_property_readonly(
            "description",
            [](const VelPyDrawer& d) {
                VelPyLocked lock;
                d.context->Ref();
                const VelDrawerDescription desc = VelDrawerRef(d.id).Description();
                py::dict out;
                out["serialization"] = SerializationName(desc.Serialization());
                py::list csets, sizes, chunks;
                for (int k = 0; k < desc.Compartment().Size(); ++k)
                    csets.append(VelPyCSet{d.context, desc.Compartment()[k]});
                for (int k = 0; k < desc.Sizes().Size(); ++k) sizes.append(desc.Sizes()[k]);
                for (int k = 0; k < desc.ChunkSizes().Size(); ++k)
                    chunks.append(desc.ChunkSizes()[k]);
                out["csets"] = csets;
                out["shape"] = py::tuple(sizes);
                out["chunks"] = py::tuple(chunks);
                out["nonzeros"] = desc.NumNonzeros();
                out["symmetric"] = desc.IsSymmetric();
                out["values_path"] = std::string(VelDrawerRef(d.id).ValuesPath().c_str());
                return out;
            })
        .def("read", &ReadDrawer,
             "Dense: an array shaped by the drawer's CSets.  Sparse: a dict of compressed rows "
             "(values, columns, row_starts and, when symmetric, diagonal).");
}

void BindDSets(py::module_& m) {
    py::class_<VelPyDSet>(m, "DSet", "A stored set of compartments over one grid")
        .def("__repr__", &HandleRepr<VelPyDSet>)
        .def_property_readonly("id", [](const VelPyDSet& d) { return TextOf(d.id); })
        .def_property_readonly("compartments", [](const VelPyDSet& d) {
            VelPyLocked lock;
            const VelCtation ctation = d.context->Ref().DSetRep(d.id);
            py::list out;
            for (int i = 0; i < ctation.Size(); ++i) {
                py::list compartment;
                for (int k = 0; k < ctation[i].Size(); ++k)
                    compartment.append(VelPyCSet{d.context, ctation[i][k]});
                out.append(compartment);
            }
            return out;
        });
}

py::dict Signature(const std::string& path) {
    VelPyLocked lock;
    VelVersion version;
    py::dict out;
    // A file shorter than the signature block is no database.
    if (!version.Create(path.c_str())) {
        if (!std::ifstream(path).good()) VelPyFail("cannot read \"" + path + "\"");
        out["is_vel"] = false;
        return out;
    }
    out["is_vel"] = version.IsOrbFile();
    if (!version.IsOrbFile()) return out;
    out["author"] = std::string(version.Author().c_str());
    out["version"] =
        py::make_tuple(version.MajorVersion(), version.MinorVersion(), version.UpdateVersion());
    out["file_format"] = version.InternalVersion();
    out["schema_version"] = version.SchemaVersion();
    return out;
}

VelGrid GridOf(const std::vector<VelPyCollection>& collections) {
    VelArray<VelCollectionID> ids(int(collections.size()));
    for (size_t k = 0; k < collections.size(); ++k) ids[int(k)] = collections[k].id;
    return VelGrid(ids);
}

void BindContext(py::module_& m) {
    using Ptr = VelPyContextPtr;
    py::class_<VelPyContext, Ptr>(m, "Context", "An open database file")
        .def(py::init<const std::string&, bool, bool>(), py::arg("path"), py::arg("create") = false,
             py::arg("writable") = false)
        .def("close", &VelPyContext::Close)
        .def_property_readonly("path", &VelPyContext::Path)
        .def_property_readonly("is_open", &VelPyContext::IsOpen)
        .def_property_readonly("collections",
                               [](const Ptr& c) {
                                   VelPyLocked lock;
                                   return HandleList(c, c->Ref().Collections());
                               })
        .def_property_readonly("distributions",
                               [](const Ptr& c) {
                                   VelPyLocked lock;
                                   return HandleList(c, c->Ref().Distributions());
                               })
        .def_property_readonly("dsets",
                               [](const Ptr& c) {
                                   VelPyLocked lock;
                                   return HandleList(c, c->Ref().DSets());
                               })
        .def("create_collection",
             [](const Ptr& c, int size) {
                 VelPyLocked lock;
                 return VelPyCollection{c, c->Ref().CreateCollection(size)};
             })
        .def(
            "create_distribution",
            [](const Ptr& c, const std::vector<VelPyCollection>& grid, const std::string& rangeType,
               const py::object& rangeCollection) {
                VelPyLocked lock;
                const VelTypeKey key = RangeKeyNamed(rangeType);
                VelCollectionID of;
                if (!rangeCollection.is_none()) of = rangeCollection.cast<VelPyCollection>().id;
                return VelPyDistribution{
                    c, c->Ref().CreateDistribution(GridOf(grid), VelRangeType(key, of))};
            },
            py::arg("grid"), py::arg("range_type"), py::arg("range_collection") = py::none())
        .def("create_dset",
             [](const Ptr& c, const std::vector<std::vector<py::object>>& compartments) {
                 VelPyLocked lock;
                 VelArray<VelCompartment> list(int(compartments.size()));
                 for (size_t i = 0; i < compartments.size(); ++i) {
                     VelArray<VelCSetID> ids(int(compartments[i].size()));
                     for (size_t k = 0; k < compartments[i].size(); ++k)
                         ids[int(k)] = CSetOf(compartments[i][k]).id;
                     list[int(i)] = VelCompartment(ids);
                 }
                 return VelPyDSet{c, c->Ref().CreateDSet(VelCtation(list))};
             })
        .def("flush", [](const Ptr& c) {
            VelPyWithoutGil([&] { VelManager::FlushContext(c->Ref().ID()); });
        });
    m.def("signature", &Signature, py::arg("path"),
          "The version record of a file's signature block, read without opening it.");
}

}  // namespace

VelPyContext::VelPyContext(const std::string& path, bool create, bool writable) : m_path(path) {
    VelPyWithoutGil([&] { UTI_VelDynamicAPI_initialize(m_modules); });
    try {
        Open(create, writable);
    } catch (...) {
        UTI_VelDynamicAPI_finalize(m_modules);
        throw;
    }
}

// A file without the signature is refused here, before HDF5 sees it.
void VelPyContext::Open(bool create, bool writable) {
    const std::string& path = m_path;
    VelPyWithoutGil([&] {
        if (create) {
            m_id = VelManager::CreateContext(path.c_str(), hdf_File::CreateFlagsTruncate, 1);
            return;
        }
        VelVersion version;
        if (!version.Create(path.c_str()) || !version.IsOrbFile()) return;
        m_id = VelManager::OpenContext(
            path.c_str(), writable ? hdf_File::OpenFlagsReadWrite : hdf_File::OpenFlagsReadOnly,
            version.SchemaVersion());
    });
    if (m_id.IsNull()) VelPyFail("\"" + path + "\" is not a Vel database this library can open");
}

VelPyContext::~VelPyContext() {
    try {
        Close();
    } catch (const VelFailure&) {
    }
    UTI_VelDynamicAPI_finalize(m_modules);
}

void VelPyContext::Close() {
    const VelContextID id = m_id;
    m_id = VelContextID();
    if (!id.IsNull()) VelPyWithoutGil([&] { VelManager::CloseContext(id); });
}

VelContextRef VelPyContext::Ref() const {
    if (m_id.IsNull()) VelPyFail("the database \"" + m_path + "\" is closed");
    return VelContextRef(m_id);
}

// A permutation CSet's ascending twin is stored after it, at the index AscendingID names.
std::vector<VelCSetID> VelPyContext::StoredCSets(const VelCollectionID& collection) const {
    Ref();
    const VelCollectionRef ref(collection);
    const int count = ref.NumCSets();
    std::vector<VelCSetID> out;
    std::vector<bool> twin(size_t(count), false);
    for (int i = 0; i < count; ++i) {
        if (twin[size_t(i)]) continue;
        const VelCSetID id = ref.StoredCSetID(i);
        const VelCSet set(id);
        if (!set.IsAscending()) {
            const int t = set.AscendingID().Index();
            if (t >= 0 && t < count) twin[size_t(t)] = true;
        }
        out.push_back(id);
    }
    return out;
}

py::object VelPyObjectOf(const VelPyContextPtr& context, const VelDynamicID& id) {
    if (id.Context() == context->ID().Value()) {
        switch (id.Category()) {
            case VelIDCategoryCollection:
                return py::cast(VelPyCollection{context, VelCollectionID(id)});
            case VelIDCategoryDistribution:
                return py::cast(VelPyDistribution{context, VelDistributionID(id)});
            case VelIDCategoryDSet:
                return py::cast(VelPyDSet{context, VelDSetID(id)});
            case VelIDCategoryCSet:
                return py::cast(VelPyCSet{context, VelCSetID(id)});
            case VelIDCategoryDrawer:
                return py::cast(VelPyDrawer{context, VelDrawerID(id)});
        }
    }
    return VelPyIdTuple(id);
}

void VelPyBindContext(py::module_& m) {
    BindContext(m);
    BindCollections(m);
    BindDistributions(m);
    BindDSets(m);
}
