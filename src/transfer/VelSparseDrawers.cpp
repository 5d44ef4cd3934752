// Values in the sparse serializations: a matrix in compressed rows whose rows are the members of
// the view's dimension 0.  bufMain holds the nonzeros row by row, bufIndicesNZ the column of
// each, bufSparseMap where each row's nonzeros begin (r + 1 ascending starts, from 0 to the
// number of nonzeros), and for a symmetric matrix bufDiagonal its diagonal, kept apart from the
// nonzeros.  A sparse distribution has its values in exactly one drawer, which a transfer moves
// whole: the view must select that drawer's CSets.
#include <string>

#include "context/VelDistributionAccess.h"
#include "transfer/VelDrawerGuard.h"
#include "transfer/VelDrawerOps.h"
#include "transfer/VelDrawerView.h"
#include "vel/core/VelAssert.h"
#include "vel/hdf/hdf_DimArray.h"
#include "vel/hdf/hdf_DimSpace.h"

namespace {

constexpr const char* kReadFailed = "!\"Read sparse failed\"";
constexpr const char* kWriteFailed = "!\"Write sparse failed\"";

// The one drawer of a sparse distribution.
class SparseDistribution {
public:
    explicit SparseDistribution(VelDistribution& distribution) : m_distribution(distribution) {}

    int NumDrawers() const { return m_distribution.NumDrawers(); }
    VelPersistentDrawer& Drawer() {
        VelASSERT(NumDrawers() == 1);
        VelPersistentDrawer& drawer =
            VelPersistentDrawer::Get(m_distribution, m_distribution.Drawers()[0]);
        if (drawer.Desc().Serialization() == VelStandardSerialization)
            VelVALIDATE(!"A sparse transfer needs a sparse drawer");
        return drawer;
    }

private:
    VelDistribution& m_distribution;
};

// The drawer must be of the view's serialization and hold exactly the view's members.
void RequireWholeDrawer(const VelDrawerRequest& request, const VelPersistentDrawer& drawer) {
    if (drawer.Desc().Serialization() != request.view.SerializationType().Key())
        VelVALIDATE(!"The view's serialization differs from the sparse drawer's");
    const VelDrawerView view = VelDrawerView::Of(request);
    bool same = VelSameDimensionOrder(view, drawer.Desc());
    for (int d = 0; same && d < view.NumDimensions(); ++d)
        same = VelSameRuns(view.members[static_cast<size_t>(d)],
                           drawer.Desc().Members()[static_cast<size_t>(d)]);
    if (!same) VelVALIDATE(!"A sparse drawer is moved whole: the view must select its CSets");
}

// Whether `rows` + 1 row starts rise from 0 to `nonzeros`.
bool RowStartsRise(const VelTransientDrawer& data, int rows, int nonzeros) {
    const int* starts = static_cast<const int*>(data.InnerBuffers()[VelbufSparseMap]);
    // No early exit: the loop vectorizes, and a sound matrix is read to its end anyway.
    bool falls = false;
    for (int i = 0; i < rows; ++i) falls |= starts[i] > starts[i + 1];
    return starts[0] == 0 && starts[rows] == nonzeros && !falls;
}

// The row starts the caller gives must describe `nonzeros` nonzeros in `rows` rows, or the
// drawer would hold a matrix no reader can walk.
void RequireRowStarts(const VelTransientDrawer& data, int rows, int nonzeros) {
    if (!RowStartsRise(data, rows, nonzeros))
        VelVALIDATE(!"bufSparseMap must rise from 0 to the number of nonzeros");
}

// Row starts read from the file: a caller walks its matrix by them, so a damaged index is
// refused here rather than handed over.  The column indices and values are the caller's to
// interpret and are not scanned (that would cost a pass over every nonzero).
void RequireStoredRowStarts(const VelPersistentDrawer& drawer, const VelTransientDrawer& data) {
    const int nonzeros = drawer.Desc().NumNonzeros();
    if (!RowStartsRise(data, drawer.Desc().Sizes()[0], nonzeros))
        drawer.Refuse("the stored row starts do not rise from 0 to " + std::to_string(nonzeros));
}

// Positions start .. start + count - 1 of a one-dimensional dataset, to or from `buffer`.
void MoveLine(const hdf_Dataset& dataset, hdf_Dataspace& file, int64_t start, int64_t count,
              const hdf_Datatype& type, void* buffer, bool write) {
    if (count == 0) return;
    file.SelectHyperslab(hdf_Dataspace::SeloperSet, hdf_DimSpaceInput(1, &start), hdf_DimSpace(),
                         hdf_DimArrayInput(static_cast<int32_t>(count)), hdf_DimArray());
    const hdf_Dataspace memory =
        hdf_Dataspace::CreateSimple(hdf_DimSpaceInput(1, &count), hdf_DimSpace());
    if (write) {
        dataset.Write(type, memory, file, buffer);
    } else {
        dataset.Read(type, memory, file, buffer);
    }
}

// The four steps, in this order: the diagonal to the head of the values (symmetric only), the
// nonzeros after it, their columns to the head of the index, the row starts after them.
void MoveArrays(VelPersistentDrawer& drawer, const VelTransientDrawer& data, VelTypeKey key,
                bool write) {
    const VelPersistentDrawerDesc& desc = drawer.Desc();
    const int64_t rows = desc.Sizes()[0];
    const int64_t nonzeros = desc.NumNonzeros();
    const hdf_Datatype values = VelStoredTypeOf(key);
    const hdf_Datatype ints = hdf_Datatype::NATIVE_INT();
    const VelBufferSet& buffers = data.InnerBuffers();
    const int64_t s = desc.IsSymmetric() ? rows : 0;
    if (write) drawer.PrepareWrite();
    if (desc.IsSymmetric())
        MoveLine(drawer.Values(), drawer.ValuesSpace(), 0, rows, values, buffers[VelbufDiagonal],
                 write);
    MoveLine(drawer.Values(), drawer.ValuesSpace(), s, nonzeros, values, buffers[VelbufMain],
             write);
    MoveLine(drawer.Index(), drawer.IndexSpace(), 0, nonzeros, ints, buffers[VelbufIndicesNZ],
             write);
    MoveLine(drawer.Index(), drawer.IndexSpace(), nonzeros, rows + 1, ints,
             buffers[VelbufSparseMap], write);
}

}  // namespace

VelDrawerBufferLayout VelSparseLayout(const VelDistributionRef& distribution,
                                      const VelDrawerID& drawer) {
    VelDistribution& target = VelDistributionAccess::Get(distribution.ID());
    VelPersistentDrawer& sparse = VelPersistentDrawer::Get(target, drawer);
    if (sparse.Desc().Serialization() == VelStandardSerialization)
        VelVALIDATE(!"A sparse transfer needs a sparse drawer");
    return VelDrawerBufferLayout{sparse.Desc().BufferSizes(), sparse.Desc().DataKeys()};
}

void VelReadSparse(const VelDrawerRequest& request) {
    VelDistribution& distribution = VelDistributionOf(request);
    VelPersistentDrawer& drawer = SparseDistribution(distribution).Drawer();
    RequireWholeDrawer(request, drawer);
    VelGuardDrawer(kReadFailed, [&] {
        MoveArrays(drawer, request.drawer, distribution.RangeType().TypeKey(), false);
    });
    RequireStoredRowStarts(drawer, request.drawer);
}

void VelWriteSparse(const VelDrawerRequest& request) {
    VelDistribution& distribution = VelDistributionOf(request);
    VelVALIDATE(!distribution.IsReadOnly());
    VelPersistentDrawer& drawer = SparseDistribution(distribution).Drawer();
    RequireWholeDrawer(request, drawer);
    RequireRowStarts(request.drawer, drawer.Desc().Sizes()[0], drawer.Desc().NumNonzeros());
    VelGuardDrawer(kWriteFailed, [&] {
        MoveArrays(drawer, request.drawer, distribution.RangeType().TypeKey(), true);
    });
}

void VelCreateSparseDrawer(const VelDrawerRequest& request) {
    VelDistribution& distribution = VelDistributionOf(request);
    VelPersistentDrawer::NewDrawer made;
    made.serialization = request.view.SerializationType().Key();
    made.compartment = VelNewDrawerCompartment(request, distribution);
    const VelDrawerView view = VelDrawerView::Of(request);
    made.sizes = VelArray<int>(view.NumDimensions());
    for (int d = 0; d < view.NumDimensions(); ++d)
        made.sizes[d] = view.sizes[static_cast<size_t>(d)];
    made.numNonzeros = request.args.SparseNNonzero();
    made.compression = VelNewDrawerCompression(request);
    RequireRowStarts(request.drawer, made.sizes[0], made.numNonzeros);
    VelPersistentDrawer& drawer = VelPersistentDrawer::Create(distribution, made);
    VelGuardDrawer(kWriteFailed, [&] {
        MoveArrays(drawer, request.drawer, distribution.RangeType().TypeKey(), true);
    });
    drawer.Complete();
}
