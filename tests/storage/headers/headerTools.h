// What the tests of headers share.
#pragma once

#include "../archive/archiveTools.h"

#include "storage/headers/dmConfigMgrHeader_c.h"
#include "storage/headers/dmSerializeContext.h"
#include "storage/headers/moHeader_c.h"

namespace kvdm::test {

constexpr std::int64_t fixedNow = 1763690400; // 21 November 2025, 02:00 UTC

// The present stands still as long as this lives.
struct FixedClock
{
    FixedClock()
    {
        dmSerializeContext::setClock([]() -> std::int64_t { return fixedNow; });
    }
    ~FixedClock() { dmSerializeContext::setClock(nullptr); }
};

// Reads an object of the version and sees that nothing of the stream is left.
template <class Object> std::shared_ptr<Object> readObject(const Bytes& bytes, int version)
{
    Loader in(bytes);
    const dmSerializeContext context(in.archive, version);
    auto object = in.archive.ReadObjectOf<Object>();
    std::uint8_t more = 0;
    EXPECT_EQ(in.archive.Read(&more, 1), 0u) << "bytes left at version " << version;
    return object;
}

inline Bytes storeObject(su_CObject& object, int version, unsigned flags = dmSerializeContext::skipTimeConsistency)
{
    Storer out;
    const dmSerializeContext context(out.archive, version, flags);
    out.archive.WriteObject(&object);
    return out.bytes();
}

} // namespace kvdm::test
