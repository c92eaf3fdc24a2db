// Does opening a document and asking for its version and its custom properties cost what is asked, or what the file holds?
// The same part at 1 MiB, 100 MiB and 1 GiB, in every layout that writers leave: tables in front, tables behind the data
// (where a document that was saved again has them), large sectors. The peer opens the same file and reads the one stream of the properties.
#include "support/client.h"
#include "support/documents.h"
#include "support/judgement.h"
#include "support/transfers.h"
#ifdef KVDM_HAVE_GSF
#include "support/gsfPeer.h"
#endif

#include <benchmark/benchmark.h>

#include <cstdio>

namespace {

using namespace kvdm;
using namespace kvdm::bench;

constexpr double mostGrowth = 1.2;
constexpr double leastLead = 5;
constexpr double mostBytes = 256 << 10;
[[maybe_unused]] constexpr char propertyStream[] = "\005DocumentSummaryInformation";

struct Size
{
    const char* name;
    std::uint64_t bytes;
};
constexpr Size sizes[] = {{"1 MiB", 1ull << 20}, {"100 MiB", 100ull << 20}, {"1 GiB", 1ull << 30}};

struct Layout
{
    const char* name;
    test::CompoundFileBuilder::Options options;
};
const Layout layouts[] = {{"tables first", {.version = 3}},
                          {"tables last", {.version = 3, .tablesLast = true}},
                          {"4096-byte sectors", {.version = 4}},
                          {"4096-byte sectors, tables last", {.version = 4, .tablesLast = true}}};

std::string benchmarkName(const char* who, const Layout& layout, const Size& size)
{
    return std::string(who) + ": " + layout.name + ", " + size.name;
}

// The engine's own share, through a storage of the client: GetDocument2 reads headers and properties before it returns.
Transfers engineShare(IKvDMApplication& application, const std::string& path)
{
    Transfers counts;
    ComPtr<IKvDMApplication2> second;
    application.QueryInterface(IID_IKvDMApplication2, second.putVoid());
    const ComPtr<ILockBytes> file = countedFile(path.c_str(), false, counts);
    ComPtr<IStorage> storage;
    if (FAILED(StgOpenStorageOnILockBytes(file.get(), nullptr, STGM_READ | STGM_SHARE_DENY_WRITE, nullptr, 0, storage.put())))
        throw std::runtime_error(path + " does not open on its bytes");
    KvDmDocumentOpenError error = kvDmDocumentOpenErrorNone;
    ComPtr<IKvDMDocument> document;
    ComPtr<IKvDMDocument12> chain;
    if (FAILED(second->GetDocument2(storage.get(), &error, document.put())) || !document ||
        FAILED(document->QueryInterface(IID_IKvDMDocument12, chain.putVoid())))
        throw std::runtime_error(path + " does not open on a storage");
    askVersionAndProperties(*chain);
    return counts;
}

void registerOne(IKvDMApplication& application, const Layout& layout, const Size& size, const std::string& path)
{
    benchmark::RegisterBenchmark(benchmarkName("libkvdocmgr", layout, size).c_str(),
                                 [&application, path](benchmark::State& state) {
                                     for (auto _ : state)
                                         benchmark::DoNotOptimize(askVersionAndProperties(*openDocument(application, path)));
                                 })
        ->MeasureProcessCPUTime()
        ->Unit(benchmark::kMicrosecond);
#ifdef KVDM_HAVE_GSF
    for (const auto& [who, access] : {std::pair{"libgsf stdio", gsf::Access::stdio}, std::pair{"libgsf mmap", gsf::Access::mapped}}) {
        benchmark::RegisterBenchmark(benchmarkName(who, layout, size).c_str(),
                                     [path, access = access](benchmark::State& state) {
                                         for (auto _ : state)
                                             benchmark::DoNotOptimize(gsf::readStream(path, propertyStream, access));
                                     })
            ->MeasureProcessCPUTime()
            ->Unit(benchmark::kMicrosecond);
    }
#endif
}

} // namespace

int main(int argc, char** argv)
try {
#ifdef KVDM_HAVE_GSF
    gsf::initialise();
#endif
    const TemporaryFolder folder;
    const ComPtr<IKvDMApplication> application = makeApplication();
    struct Counted
    {
        std::string what;
        Transfers whole, engine;
    };
    std::vector<Counted> counted;
    for (const Layout& layout : layouts) {
        for (const Size& size : sizes) {
            const std::string path = folder.file(std::to_string(counted.size()) + ".kvdprt");
            makeLargeDocument(path, size.bytes, layout.options);
            const Answers answers = askVersionAndProperties(*openDocument(*application, path)); // warms the caches, too
            if (answers.version == 0 || answers.customProperties == 0)
                throw std::runtime_error(path + " does not answer");
            counted.push_back({std::string(layout.name) + ", " + size.name,
                               transfersOf([&] { askVersionAndProperties(*openDocument(*application, path)); }), engineShare(*application, path)});
            registerOne(*application, layout, size, path);
        }
    }

    Judgement judgement(argc, argv);
    for (const Counted& one : counted) {
        judgement.atMost("bytes read: " + one.what, static_cast<double>(one.whole.bytesRead), mostBytes);
        judgement.atMost("bytes the engine asked for, with headers and summary: " + one.what, static_cast<double>(one.engine.bytesRead), mostBytes);
        judgement.tell("calls to the system's read: " + one.what, static_cast<double>(one.whole.readCalls));
    }
    const Size& smallest = sizes[0];
    const Size& largest = sizes[std::size(sizes) - 1];
    for (const Layout& layout : layouts) {
        const std::string ours = benchmarkName("libkvdocmgr", layout, largest);
        judgement.atMost(std::string("time of 1 GiB over 1 MiB: ") + layout.name,
                         judgement.ratio(ours, benchmarkName("libkvdocmgr", layout, smallest)), mostGrowth);
        for (const char* who : {"libgsf stdio", "libgsf mmap"})
            judgement.atLeast(std::string(who) + " over libkvdocmgr at 1 GiB: " + layout.name,
                              judgement.ratio(benchmarkName(who, layout, largest), ours), leastLead);
    }
    return judgement.exitCode();
} catch (const std::exception& failure) {
    std::fprintf(stderr, "openThenOneProperty: %s\n", failure.what());
    return 1;
}
