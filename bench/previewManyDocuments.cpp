// How fast do the previews of a folder of documents come up? Each is opened and asked for its pictures: the bitmap and the
// PNG, decoded. The peer opens the same files with libgsf, reads the same bytes, and decodes the PNG with plain libpng; the
// bitmap it leaves as it is.
#include "support/client.h"
#include "support/documents.h"
#include "support/judgement.h"
#include "support/pngPeer.h"
#ifdef KVDM_HAVE_GSF
#include "support/gsfPeer.h"
#endif

#include <benchmark/benchmark.h>

#include <cstdio>
#include <stdexcept>

namespace {

using namespace kvdm;
using namespace kvdm::bench;

constexpr std::size_t documentCount = 1000;
constexpr double mostTimeOfPeer = 1.2;

ComPtr<IKvPicture> pictureOf(IKvDMDocument12& document, HRESULT (IKvDMDocument12::*get)(KvDmPreviewError*, IDispatch**))
{
    KvDmPreviewError error = kvDmPreviewErrorNone;
    ComPtr<IDispatch> picture;
    ComPtr<IKvPicture> pixels;
    if (FAILED((document.*get)(&error, picture.put())) || error != kvDmPreviewErrorNone ||
        FAILED(picture->QueryInterface(IID_IKvPicture, pixels.putVoid())))
        throw std::runtime_error("a document has no preview");
    return pixels;
}

png::Pixels pixelsOf(IKvPicture& picture)
{
    png::Pixels pixels;
    LONG width = 0;
    LONG height = 0;
    const std::uint32_t* first = nullptr;
    picture.get_Width(&width);
    picture.get_Height(&height);
    picture.get_Handle(&first);
    pixels.width = static_cast<std::uint32_t>(width);
    pixels.argb.assign(first, first + std::size_t{pixels.width} * static_cast<std::size_t>(height));
    return pixels;
}

void showDocument(IKvDMApplication& application, const std::string& path)
{
    const ComPtr<IKvDMDocument12> document = openDocument(application, path);
    benchmark::DoNotOptimize(pictureOf(*document, &IKvDMDocument12::GetPreviewBitmap));
    benchmark::DoNotOptimize(pictureOf(*document, &IKvDMDocument12::GetPreviewPNGBitmap));
}

#ifdef KVDM_HAVE_GSF
// The decoded PNG.
png::Pixels showWithPeer(const std::string& path)
{
    const auto streams = gsf::readStreams(path, {"Preview", "PreviewPNG"});
    return png::decode(streams[1]);
}
#endif

void countDocuments(benchmark::State& state)
{
    state.counters["documents/s"] = benchmark::Counter(static_cast<double>(documentCount), benchmark::Counter::kIsIterationInvariantRate);
}

} // namespace

int main(int argc, char** argv)
try {
    const TemporaryFolder folder;
    const std::vector<std::string> paths = makePreviewDocuments(folder, documentCount);
    const ComPtr<IKvDMApplication> application = makeApplication();
    benchmark::RegisterBenchmark("libkvdocmgr",
                                 [&](benchmark::State& state) {
                                     for (auto _ : state)
                                         for (const std::string& path : paths)
                                             showDocument(*application, path);
                                     countDocuments(state);
                                 })
        ->MeasureProcessCPUTime()
        ->Unit(benchmark::kMillisecond);
#ifdef KVDM_HAVE_GSF
    gsf::initialise();
    for (const std::string& path : paths) {
        const png::Pixels ours = pixelsOf(*pictureOf(*openDocument(*application, path), &IKvDMDocument12::GetPreviewPNGBitmap));
        if (ours != showWithPeer(path))
            throw std::runtime_error(path + ": the peer sees another picture");
    }
    benchmark::RegisterBenchmark("libgsf and libpng",
                                 [&](benchmark::State& state) {
                                     for (auto _ : state)
                                         for (const std::string& path : paths)
                                             benchmark::DoNotOptimize(showWithPeer(path));
                                     countDocuments(state);
                                 })
        ->MeasureProcessCPUTime()
        ->Unit(benchmark::kMillisecond);
#endif
    Judgement judgement(argc, argv);
    judgement.atMost("libkvdocmgr over libgsf and libpng", judgement.ratio("libkvdocmgr", "libgsf and libpng"), mostTimeOfPeer);
    return judgement.exitCode();
} catch (const std::exception& failure) {
    std::fprintf(stderr, "previewManyDocuments: %s\n", failure.what());
    return 1;
}
