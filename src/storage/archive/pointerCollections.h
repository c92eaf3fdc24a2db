// Collections of raw pointers. They have names in streams, since the framework's own collections had them, but no content
// there: storing one is not supported, and one is read only where the stream claims no schema, 65535.
#pragma once

#include "storage/archive/su_CObject.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace kvdm {

template <class Self> class suTransient : public su_CObject
{
public:
    static const suRuntimeClass runtimeClass;
    const suRuntimeClass& getRuntimeClass() const noexcept override { return runtimeClass; }
};

template <class Self> constinit const suRuntimeClass suTransient<Self>::runtimeClass{Self::streamName, suRuntimeClass::notPersistent,
                                                                                     &su_CObject::runtimeClass, &createObject<Self>};

class su_CPtrArray : public suTransient<su_CPtrArray>
{
public:
    static constexpr std::string_view streamName = "su_CPtrArray";
    std::vector<void*> elements;
};

class su_CPtrList : public suTransient<su_CPtrList>
{
public:
    static constexpr std::string_view streamName = "su_CPtrList";
    std::vector<void*> elements;
};

class su_CMapWordToPtr : public suTransient<su_CMapWordToPtr>
{
public:
    static constexpr std::string_view streamName = "su_CMapWordToPtr";
    std::map<std::uint16_t, void*> entries;
};

class su_CMapPtrToWord : public suTransient<su_CMapPtrToWord>
{
public:
    static constexpr std::string_view streamName = "su_CMapPtrToWord";
    std::map<void*, std::uint16_t> entries;
};

class su_CMapPtrToPtr : public suTransient<su_CMapPtrToPtr>
{
public:
    static constexpr std::string_view streamName = "su_CMapPtrToPtr";
    std::map<void*, void*> entries;
};

class su_CMapPtrToString : public suTransient<su_CMapPtrToString>
{
public:
    static constexpr std::string_view streamName = "su_CMapPtrToString";
    std::map<void*, std::u16string> entries;
};

} // namespace kvdm
