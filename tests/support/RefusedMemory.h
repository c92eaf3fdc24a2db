// Memory that can be refused. Replaces the operators of the whole program: include it in one source of a test program only.
#pragma once

#include <atomic>
#include <cstdlib>
#include <new>

namespace kvdm::test {

// So many allocations succeed, the next one fails, all others succeed again; negative: none fails.
inline std::atomic<long> allocationsLeft{-1};

inline void* allocateOrRefuse(std::size_t bytes) noexcept
{
    if (allocationsLeft.load() >= 0 && allocationsLeft.fetch_sub(1) == 0)
        return nullptr;
    return std::malloc(bytes != 0 ? bytes : 1);
}

inline void* allocateOrThrow(std::size_t bytes)
{
    void* memory = allocateOrRefuse(bytes);
    return memory ? memory : throw std::bad_alloc();
}

} // namespace kvdm::test

[[gnu::noinline]] void* operator new(std::size_t bytes)
{
    return kvdm::test::allocateOrThrow(bytes);
}
[[gnu::noinline]] void* operator new[](std::size_t bytes)
{
    return kvdm::test::allocateOrThrow(bytes);
}
[[gnu::noinline]] void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept
{
    return kvdm::test::allocateOrRefuse(bytes);
}
[[gnu::noinline]] void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept
{
    return kvdm::test::allocateOrRefuse(bytes);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory) noexcept
{
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory, std::size_t) noexcept
{
    std::free(memory);
}
