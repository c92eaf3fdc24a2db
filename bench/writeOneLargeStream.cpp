// What does a large stream cost over plain bytes when it is written? A new compound file gets one stream of 256 MiB by blocks
// of 128 KiB and is committed, which means that it has reached the disk. The peer is `cp` of a plain file of that size,
// followed by `sync` of the copy; and libgsf, whose file is synchronised as well.
#include "support/documents.h"
#include "support/engine.h"
#include "support/judgement.h"
#include "support/processes.h"
#ifdef KVDM_HAVE_GSF
#include "support/gsfPeer.h"
#endif

#include <benchmark/benchmark.h>

#include <cstdio>

namespace {

using namespace kvdm;
using namespace kvdm::bench;

constexpr std::uint64_t streamSize = 256ull << 20;
constexpr std::size_t block = 128 << 10;
constexpr double mostOverCp = 2;

} // namespace

int main(int argc, char** argv)
try {
    const TemporaryFolder folder;
    const std::string plain = folder.file("plain");
    const std::string copy = folder.file("copy");
    const std::string compound = folder.file("compound");
    makePlainFile(plain, streamSize);
    benchmark::RegisterBenchmark("libkvole",
                                 [&](benchmark::State& state) {
                                     for (auto _ : state)
                                         engine::writeByBlocks(compound, u"Body", streamSize, block);
                                     state.SetBytesProcessed(static_cast<std::int64_t>(streamSize) * state.iterations());
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("cp and sync",
                                 [&](benchmark::State& state) {
                                     for (auto _ : state) {
                                         runProgram({"cp", plain, copy});
                                         runProgram({"sync", copy});
                                     }
                                     state.SetBytesProcessed(static_cast<std::int64_t>(streamSize) * state.iterations());
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
#ifdef KVDM_HAVE_GSF
    gsf::initialise();
    const std::string peer = folder.file("peer");
    benchmark::RegisterBenchmark("libgsf and sync",
                                 [&](benchmark::State& state) {
                                     for (auto _ : state) {
                                         gsf::writeByBlocks(peer, "Body", streamSize, block);
                                         runProgram({"sync", peer});
                                     }
                                     state.SetBytesProcessed(static_cast<std::int64_t>(streamSize) * state.iterations());
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
#endif

    Judgement judgement(argc, argv);
    if (engine::readByBlocks(*engine::open(compound), u"Body", block) != streamSize)
        throw std::runtime_error("what was written does not read");
    judgement.atMost("libkvole over cp and sync", judgement.ratio("libkvole", "cp and sync"), mostOverCp);
    judgement.tell("libgsf and sync over libkvole", judgement.ratio("libgsf and sync", "libkvole"));
    return judgement.exitCode();
} catch (const std::exception& failure) {
    std::fprintf(stderr, "writeOneLargeStream: %s\n", failure.what());
    return 1;
}
