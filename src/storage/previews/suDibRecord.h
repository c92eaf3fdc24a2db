// The raster preview of a document as its stream holds it.
#pragma once

#include "platform/imaging/images.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kvdm {

class su_CArchive;
class suFile;

// A device-independent bitmap behind its size, or a PNG file byte for byte. An empty record stands for a preview that could
// not be read.
class suDibRecord
{
public:
    static constexpr std::uint32_t formatPng = 3;

    // Reads the sized form. A size of 0, a short read or a header of another size gives an empty record.
    void load(su_CArchive& archive);
    // The sized form, or with formatPng a PNG file without a size: the one that was loaded, or one made of the bitmap in data.
    // False when it cannot be made.
    bool store(su_CArchive& archive) const;
    // The whole rest of the archive as a PNG file. More than 256 MiB are suFileException, and an empty record in the form above.
    void loadPng(su_CArchive& archive);

    bool isEmpty() const noexcept { return data.empty(); }
    std::optional<ArgbImage> decode() const;

    std::vector<std::uint8_t> data;
    std::uint32_t format = 0;
};

// The preview of a file that is not opened as a document: the named stream, or without a name "PreviewPNG", then "Preview".
// Empty when there is none.
suDibRecord loadPreviewFromFile(std::u16string_view path, std::u16string_view streamName = {});

} // namespace kvdm
