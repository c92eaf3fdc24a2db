// What a serialize operation has to know beside the archive: the version of the document and how times are treated.
#pragma once

#include <cstdint>
#include <map>

namespace kvdm {

class su_CArchive;

// One per archive, from its construction to its destruction; it must go before the archive does.
class dmSerializeContext
{
public:
    static constexpr int presentVersion = 3800;
    enum Flag : unsigned
    {
        skipTimeConsistency = 16,
        skipTimeCorrection = 128 // when storing
    };

    dmSerializeContext(su_CArchive& archive, int documentVersion, unsigned timeFlags = skipTimeConsistency);
    ~dmSerializeContext();
    dmSerializeContext(const dmSerializeContext&) = delete;
    dmSerializeContext& operator=(const dmSerializeContext&) = delete;

    // The context of an archive; without one suFileException with the generic cause.
    static dmSerializeContext& of(su_CArchive& archive);

    // Version 0 is the present format: it passes every test of a first version, and lies in no window of versions.
    bool from(int number) const noexcept { return version == 0 || version >= number; }
    bool within(int first, int last) const noexcept { return version != 0 && version >= first && version <= last; }

    int version;
    unsigned flags;
    bool copyMode = false;                      // the document is written as a copy with new identity times
    std::map<std::int64_t, std::int64_t> times; // old creation time to new, entered by a write in copy mode

    // Seconds since 1970. The clock is the machine's unless another one is set (null sets the machine's again); it is one
    // for the process.
    using Clock = std::int64_t (*)();
    static std::int64_t presentTime();
    static void setClock(Clock clock) noexcept;

private:
    su_CArchive& archive;
    dmSerializeContext* outer; // of the archive before this one
};

// A time lies in a stream as 32 bits: seconds since 1970, all ones for -1. A valid time is neither 0 nor -1.
std::int64_t readTime(su_CArchive& archive);
void writeTime(su_CArchive& archive, std::int64_t time);
constexpr bool isValidTime(std::int64_t time) noexcept
{
    return time != 0 && time != -1;
}

} // namespace kvdm
