// A buffer that begins where a page does, as cat has it: the system copies into it faster than into any other place.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>

namespace kvdm::bench {

class PageBuffer
{
public:
    explicit PageBuffer(std::size_t bytes) : memory(static_cast<std::uint8_t*>(std::aligned_alloc(page, (bytes + page - 1) / page * page)))
    {
        if (!memory)
            throw std::bad_alloc();
    }
    std::uint8_t* data() const noexcept { return memory.get(); }

private:
    static constexpr std::size_t page = 4096;
    struct Free
    {
        void operator()(std::uint8_t* bytes) const { std::free(bytes); }
    };
    std::unique_ptr<std::uint8_t[], Free> memory;
};

} // namespace kvdm::bench
