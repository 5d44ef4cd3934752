// The QARN reader against expat alone: the same generated schema (10,000 data record types of 20
// members each) parsed by expat with empty element handlers, by VelTypeFormManager::ParseQARN,
// and by ParseQARN followed by the form's schema snapshot.  Bytes per second are comparable
// across the three; their ratio is the reader's own cost on top of expat's tokenising.

#include <benchmark/benchmark.h>
#include <expat.h>

#include <string>

#include "vel/types/VelTypeFormManager.h"

namespace {

constexpr int kTypeCount = 10000;
constexpr int kMemberCount = 20;

// Members cycle through the data member elements, every other one with a default.
std::string GenerateSchema() {
    static const char* const kElements[] = {"bool",  "octet", "short",  "int",
                                            "int64", "float", "double", "string"};
    static const char* const kDefaults[] = {"true", "7", "-3", "42", "1000", "1.5", "2.25", "x"};
    std::string text = "<?xml version=\"1.0\"?>\n<qarn><form name=\"Bench\">\n";
    for (int t = 0; t < kTypeCount; ++t) {
        text += "<datarecord name=\"Type" + std::to_string(t) + "\" level=\"1\">\n";
        for (int m = 0; m < kMemberCount; ++m) {
            const int kind = (t + m) % 8;
            text +=
                "  <" + std::string(kElements[kind]) + " name=\"member" + std::to_string(m) + "\"";
            if (m % 2 == 0) text += " default=\"" + std::string(kDefaults[kind]) + "\"";
            text += "/>\n";
        }
        text += "</datarecord>\n";
    }
    return text + "</form></qarn>\n";
}

const std::string& Schema() {
    static const std::string schema = GenerateSchema();
    return schema;
}

void XMLCALL IgnoreStart(void*, const XML_Char*, const XML_Char**) {}
void XMLCALL IgnoreEnd(void*, const XML_Char*) {}

// The reference: the same expat calls the reader makes, with handlers that do nothing.
void BM_ExpatEmptyHandlers(benchmark::State& state) {
    const std::string& text = Schema();
    for (auto _ : state) {
        XML_Parser parser = XML_ParserCreate(nullptr);
        XML_SetUserData(parser, nullptr);
        XML_SetElementHandler(parser, IgnoreStart, IgnoreEnd);
        const XML_Status status =
            XML_Parse(parser, text.data(), static_cast<int>(text.size()), XML_TRUE);
        benchmark::DoNotOptimize(status);
        XML_ParserFree(parser);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

// Managers are destroyed outside the timed region: what is measured is reading, not teardown.
void BM_ParseQARN(benchmark::State& state) {
    const cow_String text(Schema());
    for (auto _ : state) {
        VelTypeFormManagerHolder holder = VelTypeFormManager::New();
        holder.Get().ParseQARN(text);
        state.PauseTiming();
        if (holder.Get().GetForm("Bench").TypeCount() != kTypeCount)
            state.SkipWithError("lost types");
        holder = VelTypeFormManagerHolder();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.Length()));
}

void BM_ParseQARNAndSnapshot(benchmark::State& state) {
    const cow_String text(Schema());
    for (auto _ : state) {
        VelTypeFormManagerHolder holder = VelTypeFormManager::New();
        const VelTypeFormManager manager = holder.Get();
        manager.ParseQARN(text);
        const VelTypeSchemaSnapshot snapshot =
            manager.GetSchemaSnapshot(manager.GetForm("Bench"), 0);
        benchmark::DoNotOptimize(snapshot.TypeCount());
        state.PauseTiming();
        if (snapshot.TypeCount() != kTypeCount ||
            snapshot.TypeAsDataRecordFlat(kTypeCount - 1).MemberCount() != kMemberCount) {
            state.SkipWithError("incomplete snapshot");
        }
        holder = VelTypeFormManagerHolder();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.Length()));
}

BENCHMARK(BM_ExpatEmptyHandlers)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ParseQARN)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ParseQARNAndSnapshot)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
