// A snapshot of a 2048 x 2048 document of 8 layers (128 MiB) beside a plain sequential write of
// the same bytes to the same folder, and the read that an undo does.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>

#include "core/documents.h"
#include "core/file_io.h"
#include "core/undo_store.h"
#include "tests/support/fake_host.h"

namespace {

struct Fixture {
    Fixture() {
        state.Paths = brv::ComputeAppPaths(folder.Path());
        brv::EnsureDataFolders(state.Paths);
        brv::InitDocTable(state);
        int32_t w = 2048, h = 2048;
        fid = brv::NewDocument(state, host, w, h);
        for (int i = 1; i < 8; ++i) brv::AddLayerSlot(state, fid);
        for (auto& layer : state.Docs[static_cast<size_t>(fid)].Layers)
            for (auto& b : layer.Pixels.Bytes()) b = static_cast<uint8_t>(&b - layer.Pixels.Bytes().data());
    }
    brv::testing::TempFolder folder;
    brv::testing::FakeHost host;
    brv::CoreState state;
    int32_t fid = 0;
};

Fixture& Shared() {
    static Fixture f;
    return f;
}

void BM_SaveUndoSnapshot(benchmark::State& st) {
    Fixture& f = Shared();
    const auto& doc = f.state.Docs[static_cast<size_t>(f.fid)];
    const std::string name = f.state.Paths.TempDir + "bench.undo";
    for (auto _ : st) brv::WriteSnapshot(name, doc, f.state.Recorder, f.host);
    st.SetBytesProcessed(st.iterations() * int64_t{8} * 2048 * 2048 * 4);
}
BENCHMARK(BM_SaveUndoSnapshot)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_PlainSequentialWrite(benchmark::State& st) {
    Fixture& f = Shared();
    const auto& doc = f.state.Docs[static_cast<size_t>(f.fid)];
    const std::string name = f.state.Paths.TempDir + "plain.bin";
    for (auto _ : st) {
        std::filesystem::remove(name);
        std::FILE* out = std::fopen(name.c_str(), "wb");
        for (int32_t lid = 1; lid <= doc.LayerCount(); ++lid) {
            auto bytes = doc.Layers[static_cast<size_t>(lid)].Pixels.Bytes();
            std::fwrite(bytes.data(), 1, bytes.size(), out);
        }
        std::fclose(out);
    }
    st.SetBytesProcessed(st.iterations() * int64_t{8} * 2048 * 2048 * 4);
}
BENCHMARK(BM_PlainSequentialWrite)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_UndoRead(benchmark::State& st) {
    Fixture& f = Shared();
    auto& doc = f.state.Docs[static_cast<size_t>(f.fid)];
    const std::string name = f.state.Paths.TempDir + "bench.undo";
    brv::WriteSnapshot(name, doc, f.state.Recorder, f.host);
    for (auto _ : st) brv::ReadSnapshot(name, doc, f.state.Recorder);
    st.SetBytesProcessed(st.iterations() * int64_t{8} * 2048 * 2048 * 4);
}
BENCHMARK(BM_UndoRead)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
