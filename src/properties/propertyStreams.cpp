#include "properties/propertyStreams.h"

#include "common/automationText.h"

#include <algorithm>
#include <cstdint>

namespace kvdm {

ComPtr<IStream> openPropertyStream(IStorage& storage, std::u16string_view name, bool& missing)
{
    ComPtr<IStream> stream;
    const HRESULT status = storage.OpenStream(toOle(std::u16string(name)), nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, stream.put());
    missing = status == STG_E_FILENOTFOUND;
    if (FAILED(status))
        (void)stream.detach(); // a failed call may leave anything behind
    return stream;
}

bool readWholeStream(IStream& stream, std::string& bytes)
{
    constexpr std::size_t firstPiece = 4096; // most property streams are smaller
    constexpr std::size_t largestPiece = std::size_t{1} << 24;
    std::size_t used = bytes.size();
    for (;;) {
        if (used == bytes.size()) {
            const std::size_t room = std::clamp(used, firstPiece, largestPiece);
            if (used + room > UINT32_MAX)
                return false; // no offset of the format reaches that far
            bytes.resize(used + room);
        }
        const std::size_t asked = bytes.size() - used;
        ULONG got = 0;
        const HRESULT status = stream.Read(bytes.data() + used, static_cast<ULONG>(asked), &got);
        used += std::min<std::size_t>(got, asked);
        if (FAILED(status) || got == 0) {
            bytes.resize(used);
            return SUCCEEDED(status);
        }
    }
}

bool writeWholeStream(IStream& stream, std::string_view bytes)
{
    while (!bytes.empty()) {
        ULONG written = 0;
        const auto piece = static_cast<ULONG>(std::min<std::size_t>(bytes.size(), std::size_t{1} << 30));
        if (FAILED(stream.Write(bytes.data(), piece, &written)) || written == 0)
            return false;
        bytes.remove_prefix(std::min<std::size_t>(written, piece));
    }
    return true;
}

} // namespace kvdm
