// A property set: the contents of one property stream.
#pragma once

#include "properties/suOlePropertySection.h"

#include <kvdocmgr/oletypes.h>

#include <cstdint>
#include <list>
#include <string>

namespace kvdm {

// Reads and writes the whole stream byte for byte; it never asks the platform's property storage. Byte order, format, class
// id and size words are taken as they come. Memory follows the size of the stream, whatever counts and lengths stand in it.
//
// A stream that did not read whole is not to be written back while nobody changed anything: isLeftAlone().
class suOlePropertySet final : public su_CObject
{
public:
    explicit suOlePropertySet(const FMTID& holderFormat) noexcept : classId(holderFormat) {}
    suOlePropertySet(const suOlePropertySet&) = delete;
    suOlePropertySet& operator=(const suOlePropertySet&) = delete;

    // Frees what was there and reads from the stream's position on. False when the stream ends before its section table;
    // sections read until then stay. A section that does not read is dropped. writtenVersion is the version of the
    // release that wrote the stream, which may be later than the document's.
    bool Read(IStream& stream, std::int32_t documentVersion, std::int32_t writtenVersion);
    // The stream as it is to be written; empty when the set is larger than its offsets can tell.
    std::string makeStream();
    // Writes at the stream's position. False when the stream does not take all, or there is nothing that can be written.
    bool Write(IStream& stream);

    // The first section of the format, or null.
    suOlePropertySection* findSection(const FMTID& format) noexcept;
    // The first section of the format; a new one, counting from fileVersion, when there is none.
    suOlePropertySection& requireSection(const FMTID& format);

    // There is more in the file than was read, and nothing was changed here: a save must not touch the stream.
    bool isLeftAlone() const noexcept;
    // The stream is there but could not be opened.
    void setUnread() noexcept { readWhole = false; }

    const std::list<suOlePropertySection>& getSections() const noexcept { return sections; }

    std::uint16_t byteOrder = 0xFFFE;
    std::uint16_t format = 0;
    std::uint32_t osVersion = 0x0002000A; // high word: 32-bit Windows; low word: version 10.0
    GUID classId;
    std::uint32_t sectionCount = 0;
    std::int32_t fileVersion = -1; // the document version of the last read

private:
    bool iRead(std::int32_t documentVersion, std::int32_t writtenVersion);

    std::list<suOlePropertySection> sections;
    std::string source; // the stream's bytes, which unchanged values are views of
    bool readWhole = true;
};

} // namespace kvdm
