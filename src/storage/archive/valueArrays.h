// Persistent arrays of plain values. In the stream: the count, then the raw values.
#pragma once

#include "storage/archive/su_CObject.h"

#include <cstdint>
#include <vector>

namespace kvdm {

template <class Value> class suValueArray : public su_CObject
{
public:
    void serialize(su_CArchive& archive) override;

    std::vector<Value> elements;
};

class su_CByteArray : public suPersistent<su_CByteArray, suValueArray<std::uint8_t>>
{
public:
    static constexpr std::string_view streamName = "su_CByteArray";
};

class su_CWordArray : public suPersistent<su_CWordArray, suValueArray<std::uint16_t>>
{
public:
    static constexpr std::string_view streamName = "su_CWordArray";
};

class su_CDWordArray : public suPersistent<su_CDWordArray, suValueArray<std::uint32_t>>
{
public:
    static constexpr std::string_view streamName = "su_CDWordArray";
};

class suDWordArray : public suPersistent<suDWordArray, su_CDWordArray>
{
public:
    static constexpr std::string_view streamName = "suDWordArray";
};

class su_CUIntArray : public suPersistent<su_CUIntArray, suValueArray<std::uint32_t>>
{
public:
    static constexpr std::string_view streamName = "su_CUIntArray";
};

class suUIntArray : public suPersistent<suUIntArray, su_CUIntArray>
{
public:
    static constexpr std::string_view streamName = "suUIntArray";
};

} // namespace kvdm
