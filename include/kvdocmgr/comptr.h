// A counted pointer for interfaces. It never says by conversion who counts: adopt() takes over a reference that the caller
// owns, share() adds one of its own, put() is for out-parameters and releases first, get() lends.
#pragma once

#include <cstddef>
#include <utility>

namespace kvdm {

template <class Interface> class ComPtr
{
public:
    ComPtr() noexcept = default;
    ComPtr(std::nullptr_t) noexcept {}
    ComPtr(const ComPtr& other) noexcept : pointer(other.pointer)
    {
        if (pointer)
            pointer->AddRef();
    }
    ComPtr(ComPtr&& other) noexcept : pointer(std::exchange(other.pointer, nullptr)) {}
    ComPtr& operator=(ComPtr other) noexcept // by value: the old reference goes last, when nothing refers to it any more
    {
        std::swap(pointer, other.pointer);
        return *this;
    }
    ~ComPtr()
    {
        if (pointer)
            pointer->Release();
    }

    static ComPtr adopt(Interface* counted) noexcept
    {
        ComPtr result;
        result.pointer = counted;
        return result;
    }
    static ComPtr share(Interface* borrowed) noexcept
    {
        if (borrowed)
            borrowed->AddRef();
        return adopt(borrowed);
    }

    Interface* get() const noexcept { return pointer; }
    Interface* operator->() const noexcept { return pointer; }
    Interface& operator*() const noexcept { return *pointer; }
    explicit operator bool() const noexcept { return pointer != nullptr; }

    void reset() noexcept { ComPtr().swap(*this); }
    void swap(ComPtr& other) noexcept { std::swap(pointer, other.pointer); }
    [[nodiscard]] Interface* detach() noexcept { return std::exchange(pointer, nullptr); }
    Interface** put() noexcept
    {
        reset();
        return &pointer;
    }
    void** putVoid() noexcept { return reinterpret_cast<void**>(put()); }

private:
    Interface* pointer = nullptr;
};

} // namespace kvdm
