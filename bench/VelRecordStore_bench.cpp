// The record store against bare HDF5 in the same run, on 10^6 records of a ten-member type and
// 10^6 association pairs:
//   records, write:  create a context, a view and its types, create the records with every
//                    member set, commit, publish, close   vs   create a file and write the same
//                    rows (the same compound type, the same bytes) as one dataset with H5Dwrite;
//   records, read:   open the context and the view (its stored types checked against the
//                    schema), read every record and every member   vs   H5Dread the dataset and
//                    decode every field;
//   pairs, write:    a new edition of the view, 10^6 pairs of the view's focus and a record,
//                    checked and committed   vs   H5Dwrite of the same pair rows;
//   pairs, read:     open the view, read the association and select the focus's records   vs
//                    H5Dread of the pair rows.
// Times per record (or pair) are in the table's counters; the ratios are printed after it.

#include <benchmark/benchmark.h>
#include <hdf5.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "VelBenchSupport.h"
#include "vel/vel.h"

namespace {

const int kCount = 1000000;
const char* const kVelFile = "vel_bench_records.h5";
const char* const kRawFile = "vel_bench_records_raw.h5";

// Ten members; positions follow the names: a(bool) b(octet) c(short) d(int) e(int64) f(float)
// g(double) h(string) i(symconst) j(double).
const char* const kSchema = R"(<qarn><form name="Bench">
  <datarecord name="Sample" level="1">
    <bool name="a"/><octet name="b"/><short name="c"/><int name="d"/><int64 name="e"/>
    <float name="f"/><double name="g"/><string name="h"/>
    <symconst name="i"><enumeration value="X"/><enumeration value="Y"/><enumeration value="Z"/></symconst>
    <double name="j"/>
  </datarecord>
  <association name="All" level="1">
    <focus roleName="root"/>
    <data roleName="samples" maxOccurs="unbounded"><target ref="Sample"/></data>
  </association>
</form></qarn>)";

const char* const kTexts[] = {"alpha", "beta", "gamma", "delta", "epsilon", "zeta", "eta", "theta"};

struct Schema {
    Schema() : forms(VelTypeFormManager::New()) {
        forms.Get().ParseQARN(kSchema);
        form = forms.Get().GetForm("Bench");
        snapshot = forms.Get().GetSchemaSnapshot(form, 1);
        sample = form.GetTypeID("Sample");
        all = form.GetTypeID("All");
    }
    VelTypeFormManagerHolder forms;
    VelTypeForm form;
    VelTypeSchemaSnapshot snapshot;
    VelTypeID sample;
    VelTypeID all;
};

Schema& TheSchema() {
    static Schema schema;
    return schema;
}

// ---- the library ------------------------------------------------------------------------------

// A published view with `count` records; returns their identifiers (valid while the context
// `id` is open).
std::vector<VelDynamicID> WriteRecords(const VelContextID& id, int count) {
    const Schema& schema = TheSchema();
    const VelViewUpdateForm view = VelContextRef(id).NewForm(schema.snapshot);
    std::vector<VelDynamicID> ids;
    ids.reserve(static_cast<size_t>(count));
    {
        VelTransactionExtend t(view);
        t.CreateTypes(schema.snapshot);
        for (int n = 0; n < count; ++n) {
            const VelDataRecordUpdate r = t.CreateDataRecord(schema.sample);
            r.SetBool(0, n % 2 == 0);
            r.SetOctet(1, static_cast<unsigned char>(n));
            r.SetShort(2, static_cast<short>(n));
            r.SetInt(3, n);
            r.SetInt64(4, int64_t(n) << 20);
            r.SetFloat(5, 0.5f * static_cast<float>(n));
            r.SetDouble(6, 0.25 * n);
            r.SetString(7, kTexts[n % 8]);
            r.SetSymb(8, n % 3);
            r.SetDouble(9, -1.0 * n);
            ids.push_back(r.ID());
        }
        t.Commit();
    }
    view.Publish();
    return ids;
}

void BM_VelRecordsWrite(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    for (auto _ : state) {
        const VelContextID id =
            VelManager::CreateContext(kVelFile, hdf_File::CreateFlagsTruncate, 1);
        WriteRecords(id, count);
        VelManager::CloseContext(id);
    }
    state.counters["per_record"] = benchmark::Counter(
        count, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_VelRecordsWrite)->Arg(kCount)->Unit(benchmark::kMillisecond);

void BM_VelRecordsRead(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    VelManager::CloseContext([&] {
        const VelContextID id =
            VelManager::CreateContext(kVelFile, hdf_File::CreateFlagsTruncate, 1);
        WriteRecords(id, count);
        return id;
    }());
    double sum = 0;
    for (auto _ : state) {
        const VelContextID id = VelManager::OpenContext(kVelFile, hdf_File::OpenFlagsReadOnly, 1);
        {
            const VelViewRead view = VelContextRef(id).View(TheSchema().snapshot);
            const VelArray<VelDynamicID> ids = view.DataRecordIDs(TheSchema().sample);
            if (ids.Size() != count) state.SkipWithError("records missing");
            for (int n = 0; n < ids.Size(); ++n) {
                const VelDataRecord r = view.DataRecord(ids[n]);
                bool a;
                unsigned char b;
                short c;
                int d, i;
                int64_t e;
                float f;
                double g, j;
                cow_String h;
                r.GetBool(0, a);
                r.GetOctet(1, b);
                r.GetShort(2, c);
                r.GetInt(3, d);
                r.GetInt64(4, e);
                r.GetFloat(5, f);
                r.GetDouble(6, g);
                r.GetString(7, h);
                r.GetSymb(8, i);
                r.GetDouble(9, j);
                sum += a + b + c + d + static_cast<double>(e) + f + g + h.Length() + i + j;
            }
        }
        VelManager::CloseContext(id);
    }
    benchmark::DoNotOptimize(sum);
    state.counters["per_record"] = benchmark::Counter(
        count, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_VelRecordsRead)->Arg(kCount)->Unit(benchmark::kMillisecond);

void BM_VelPairsWrite(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        const VelContextID id =
            VelManager::CreateContext(kVelFile, hdf_File::CreateFlagsTruncate, 1);
        const std::vector<VelDynamicID> records = WriteRecords(id, count);
        const VelViewRead base = VelContextRef(id).View(TheSchema().snapshot);
        state.ResumeTiming();
        {
            const VelViewUpdateEdition edition =
                VelContextRef(id).NewEdition(TheSchema().snapshot, base);
            VelTransactionEdit t(edition);
            const VelAssociationUpdate all =
                t.UpdateAssociation(edition.AssociationID(TheSchema().all));
            for (const VelDynamicID& record : records) all.Insert(t.FocusID(), record);
            t.Commit();
            edition.Publish();
        }
        VelManager::CloseContext(id);
    }
    state.counters["per_pair"] = benchmark::Counter(
        count, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_VelPairsWrite)->Arg(kCount)->Unit(benchmark::kMillisecond);

void BM_VelPairsRead(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    {
        const VelContextID id =
            VelManager::CreateContext(kVelFile, hdf_File::CreateFlagsTruncate, 1);
        const std::vector<VelDynamicID> records = WriteRecords(id, count);
        const VelViewRead base = VelContextRef(id).View(TheSchema().snapshot);
        const VelViewUpdateEdition edition =
            VelContextRef(id).NewEdition(TheSchema().snapshot, base);
        {
            VelTransactionEdit t(edition);
            const VelAssociationUpdate all =
                t.UpdateAssociation(edition.AssociationID(TheSchema().all));
            for (const VelDynamicID& record : records) all.Insert(t.FocusID(), record);
            t.Commit();
        }
        edition.Publish();
        VelManager::CloseContext(id);
    }
    int64_t sum = 0;
    for (auto _ : state) {
        const VelContextID id = VelManager::OpenContext(kVelFile, hdf_File::OpenFlagsReadOnly, 1);
        {
            const VelViewRead view = VelContextRef(id).View(TheSchema().snapshot);
            const VelSelectionList samples(view.Association(view.AssociationID(TheSchema().all)), 0,
                                           view.FocusID());
            if (samples.Count() != count) state.SkipWithError("pairs missing");
            for (int n = 0; n < samples.Count(); ++n) sum += samples.Get(n).First();
        }
        VelManager::CloseContext(id);
    }
    benchmark::DoNotOptimize(sum);
    state.counters["per_pair"] = benchmark::Counter(
        count, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_VelPairsRead)->Arg(kCount)->Unit(benchmark::kMillisecond);

// ---- bare HDF5: the same rows as one compound dataset -----------------------------------------

void PutBig(unsigned char* at, uint64_t value, int width) {
    for (int i = width - 1; i >= 0; --i, value >>= 8) at[i] = static_cast<unsigned char>(value);
}
uint64_t GetBig(const unsigned char* at, int width) {
    uint64_t value = 0;
    for (int i = 0; i < width; ++i) value = (value << 8) | at[i];
    return value;
}

// The row of a Sample table: serial, then the ten members, big-endian, packed (60 bytes).
struct RecordRow {
    static constexpr size_t e_Size = 60;
    static hid_t Type() {
        hid_t type = H5Tcreate(H5T_COMPOUND, e_Size);
        const struct {
            const char* name;
            hid_t type;
        } fields[] = {{"serial", H5T_STD_I64BE}, {"a", H5T_STD_U32BE},  {"b", H5T_STD_U32BE},
                      {"c", H5T_STD_I32BE},      {"d", H5T_STD_I32BE},  {"e", H5T_STD_I64BE},
                      {"f", H5T_IEEE_F32BE},     {"g", H5T_IEEE_F64BE}, {"h", H5T_STD_U32BE},
                      {"i", H5T_STD_I32BE},      {"j", H5T_IEEE_F64BE}};
        size_t offset = 0;
        for (const auto& field : fields) {
            H5Tinsert(type, field.name, offset, field.type);
            offset += H5Tget_size(field.type);
        }
        return type;
    }
};

// The row of a pair table: two 20-byte dynamic identifiers, the focus first.
struct PairRow {
    static constexpr size_t e_Size = 40;
    static hid_t Type() {
        hid_t id = H5Tcreate(H5T_COMPOUND, 20);
        H5Tinsert(id, "category", 0, H5T_STD_I32BE);
        H5Tinsert(id, "first", 4, H5T_STD_I64BE);
        H5Tinsert(id, "second", 12, H5T_STD_I64BE);
        hid_t type = H5Tcreate(H5T_COMPOUND, e_Size);
        H5Tinsert(type, "first", 0, id);
        H5Tinsert(type, "second", 20, id);
        H5Tclose(id);
        return type;
    }
};

template <class Row>
void WriteRaw(const std::vector<unsigned char>& rows) {
    hid_t file = H5Fcreate(kRawFile, H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
    const hsize_t count = rows.size() / Row::e_Size;
    hid_t space = H5Screate_simple(1, &count, nullptr);
    hid_t type = Row::Type();
    hid_t dataset = H5Dcreate2(file, "rows", type, space, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
    H5Dwrite(dataset, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, rows.data());
    H5Dclose(dataset);
    H5Tclose(type);
    H5Sclose(space);
    H5Fclose(file);
}

template <class Row>
std::vector<unsigned char> ReadRaw() {
    hid_t file = H5Fopen(kRawFile, H5F_ACC_RDONLY, H5P_DEFAULT);
    hid_t dataset = H5Dopen2(file, "rows", H5P_DEFAULT);
    hid_t space = H5Dget_space(dataset);
    std::vector<unsigned char> rows(static_cast<size_t>(H5Sget_simple_extent_npoints(space)) *
                                    Row::e_Size);
    hid_t type = Row::Type();
    H5Dread(dataset, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, rows.data());
    H5Tclose(type);
    H5Sclose(space);
    H5Dclose(dataset);
    H5Fclose(file);
    return rows;
}

void FillRecordRows(std::vector<unsigned char>& rows, int count) {
    rows.resize(static_cast<size_t>(count) * RecordRow::e_Size);
    for (int n = 0; n < count; ++n) {
        unsigned char* row = rows.data() + static_cast<size_t>(n) * RecordRow::e_Size;
        const float f = 0.5f * static_cast<float>(n);
        const double g = 0.25 * n, j = -1.0 * n;
        uint32_t fbits;
        uint64_t gbits, jbits;
        std::memcpy(&fbits, &f, 4);
        std::memcpy(&gbits, &g, 8);
        std::memcpy(&jbits, &j, 8);
        PutBig(row, static_cast<uint64_t>(n), 8);
        PutBig(row + 8, n % 2 == 0, 4);
        PutBig(row + 12, static_cast<unsigned char>(n), 4);
        PutBig(row + 16, static_cast<uint32_t>(static_cast<short>(n)), 4);
        PutBig(row + 20, static_cast<uint32_t>(n), 4);
        PutBig(row + 24, static_cast<uint64_t>(int64_t(n) << 20), 8);
        PutBig(row + 32, fbits, 4);
        PutBig(row + 36, gbits, 8);
        PutBig(row + 44, static_cast<uint32_t>(n % 8 + 1), 4);
        PutBig(row + 48, static_cast<uint32_t>(n % 3), 4);
        PutBig(row + 52, jbits, 8);
    }
}

void BM_Hdf5RecordsWrite(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    std::vector<unsigned char> rows;
    for (auto _ : state) {
        FillRecordRows(rows, count);
        WriteRaw<RecordRow>(rows);
    }
    state.counters["per_record"] = benchmark::Counter(
        count, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_Hdf5RecordsWrite)->Arg(kCount)->Unit(benchmark::kMillisecond);

void BM_Hdf5RecordsRead(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    std::vector<unsigned char> rows;
    FillRecordRows(rows, count);
    WriteRaw<RecordRow>(rows);
    double sum = 0;
    for (auto _ : state) {
        const std::vector<unsigned char> read = ReadRaw<RecordRow>();
        for (size_t n = 0; n < read.size() / RecordRow::e_Size; ++n) {
            const unsigned char* row = read.data() + n * RecordRow::e_Size;
            const uint32_t fbits = static_cast<uint32_t>(GetBig(row + 32, 4));
            const uint64_t gbits = GetBig(row + 36, 8), jbits = GetBig(row + 52, 8);
            float f;
            double g, j;
            std::memcpy(&f, &fbits, 4);
            std::memcpy(&g, &gbits, 8);
            std::memcpy(&j, &jbits, 8);
            sum += static_cast<double>(GetBig(row + 8, 4) + GetBig(row + 12, 4)) +
                   static_cast<int32_t>(GetBig(row + 16, 4)) +
                   static_cast<int32_t>(GetBig(row + 20, 4)) +
                   static_cast<double>(static_cast<int64_t>(GetBig(row + 24, 8))) + f + g +
                   static_cast<double>(GetBig(row + 44, 4)) +
                   static_cast<int32_t>(GetBig(row + 48, 4)) + j;
        }
    }
    benchmark::DoNotOptimize(sum);
    state.counters["per_record"] = benchmark::Counter(
        count, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_Hdf5RecordsRead)->Arg(kCount)->Unit(benchmark::kMillisecond);

void FillPairRows(std::vector<unsigned char>& rows, int count) {
    rows.resize(static_cast<size_t>(count) * PairRow::e_Size);
    for (int n = 0; n < count; ++n) {
        unsigned char* row = rows.data() + static_cast<size_t>(n) * PairRow::e_Size;
        PutBig(row, 64, 4);
        PutBig(row + 4, 0, 8);
        PutBig(row + 12, ~uint64_t(0), 8);
        PutBig(row + 20, 64, 4);
        PutBig(row + 24, static_cast<uint64_t>(n + 1), 8);
        PutBig(row + 32, static_cast<uint64_t>(n), 8);
    }
}

void BM_Hdf5PairsWrite(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    std::vector<unsigned char> rows;
    for (auto _ : state) {
        FillPairRows(rows, count);
        WriteRaw<PairRow>(rows);
    }
    state.counters["per_pair"] = benchmark::Counter(
        count, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_Hdf5PairsWrite)->Arg(kCount)->Unit(benchmark::kMillisecond);

void BM_Hdf5PairsRead(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    std::vector<unsigned char> rows;
    FillPairRows(rows, count);
    WriteRaw<PairRow>(rows);
    uint64_t sum = 0;
    for (auto _ : state) {
        const std::vector<unsigned char> read = ReadRaw<PairRow>();
        for (size_t n = 0; n < read.size() / PairRow::e_Size; ++n)
            sum += GetBig(read.data() + n * PairRow::e_Size + 24, 8);
    }
    benchmark::DoNotOptimize(sum);
    state.counters["per_pair"] = benchmark::Counter(
        count, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_Hdf5PairsRead)->Arg(kCount)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    const int result = VelRunBenchmarks(argc, argv,
                                        {{"BM_VelRecordsWrite", "BM_Hdf5RecordsWrite"},
                                         {"BM_VelRecordsRead", "BM_Hdf5RecordsRead"},
                                         {"BM_VelPairsWrite", "BM_Hdf5PairsWrite"},
                                         {"BM_VelPairsRead", "BM_Hdf5PairsRead"}});
    std::remove(kVelFile);
    std::remove(kRawFile);
    return result;
}
