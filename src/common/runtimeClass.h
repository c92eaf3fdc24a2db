// What the application framework knows of a persistent class at run time: its name in streams, its schema, how to make one.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

namespace kvdm {

class su_CObject;

struct suRuntimeClass
{
    static constexpr std::uint32_t versionable = 0x80000000; // schema bit: any schema of the file is accepted
    static constexpr std::uint32_t notPersistent = 0xFFFF;

    std::string_view name;
    std::uint32_t schema;       // with the versionable bit
    const suRuntimeClass* base; // null for the root
    std::unique_ptr<su_CObject> (*create)();

    bool isDerivedFrom(const suRuntimeClass& other) const noexcept
    {
        for (const suRuntimeClass* at = this; at; at = at->base)
            if (at == &other)
                return true;
        return false;
    }
};

} // namespace kvdm
