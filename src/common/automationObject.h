// A counted object that answers for its interfaces and all that they succeed.
#pragma once

#include <kvdocmgr/comptr.h>
#include <kvdocmgr/oletypes.h>

#include <atomic>
#include <type_traits>
#include <utility>

namespace kvdm {

// What QueryInterface needs to know of an interface: its identifier and the one it extends.
template <class Interface> struct InterfaceTraits;

template <> struct InterfaceTraits<IUnknown>
{
    static constexpr const IID& id = IID_IUnknown;
};
template <class PredecessorInterface, const IID& identifier> struct InterfaceTraitsOf
{
    using Predecessor = PredecessorInterface;
    static constexpr const IID& id = identifier;
};
template <> struct InterfaceTraits<IClassFactory> : InterfaceTraitsOf<IUnknown, IID_IClassFactory>
{
};
template <> struct InterfaceTraits<ISupportErrorInfo> : InterfaceTraitsOf<IUnknown, IID_ISupportErrorInfo>
{
};
template <> struct InterfaceTraits<IDispatch> : InterfaceTraitsOf<IUnknown, IID_IDispatch>
{
};
template <> struct InterfaceTraits<ISequentialStream> : InterfaceTraitsOf<IUnknown, IID_ISequentialStream>
{
};
template <> struct InterfaceTraits<IStream> : InterfaceTraitsOf<ISequentialStream, IID_IStream>
{
};
template <> struct InterfaceTraits<IStorage> : InterfaceTraitsOf<IUnknown, IID_IStorage>
{
};
template <> struct InterfaceTraits<IEnumSTATSTG> : InterfaceTraitsOf<IUnknown, IID_IEnumSTATSTG>
{
};
template <> struct InterfaceTraits<ILockBytes> : InterfaceTraitsOf<IUnknown, IID_ILockBytes>
{
};

// True when id is Asked or one of the interfaces that it succeeds.
template <class Asked> constexpr bool answersFor(REFIID id) noexcept
{
    if (id == InterfaceTraits<Asked>::id)
        return true;
    if constexpr (!std::is_same_v<Asked, IUnknown>)
        return answersFor<typename InterfaceTraits<Asked>::Predecessor>(id);
    return false;
}

// Born with one reference. The first interface is the object's identity: IUnknown is always answered through it.
// Counter is a plain integer for apartment objects and an atomic one for those that a second thread may release.
template <class Counter, class... Interfaces> class CountedObject : public Interfaces...
{
public:
    CountedObject() = default;
    CountedObject(const CountedObject&) = delete;
    CountedObject& operator=(const CountedObject&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) noexcept override
    {
        if (!out)
            return E_POINTER;
        *out = nullptr;
        (void)(iAnswer<Interfaces>(id, out) || ...);
        if (!*out)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() noexcept override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() noexcept override
    {
        const ULONG left = --references;
        if (left == 0)
            delete this;
        return left;
    }

protected:
    virtual ~CountedObject() = default;

private:
    template <class Branch> bool iAnswer(REFIID id, void** out) noexcept
    {
        if (!answersFor<Branch>(id))
            return false;
        *out = static_cast<Branch*>(this);
        return true;
    }

    Counter references{1};
};

template <class... Interfaces> using AutomationObject = CountedObject<ULONG, Interfaces...>;
template <class... Interfaces> using SharedObject = CountedObject<std::atomic<ULONG>, Interfaces...>;

// A new object under a counted pointer; throws std::bad_alloc and what the constructor throws.
template <class Object, class... Arguments> ComPtr<Object> makeObject(Arguments&&... arguments)
{
    return ComPtr<Object>::adopt(new Object(std::forward<Arguments>(arguments)...));
}

// The interface of an object, or an empty pointer when it has none (a null object has none).
template <class Interface> ComPtr<Interface> queryAs(IUnknown* object) noexcept
{
    ComPtr<Interface> result;
    if (object && FAILED(object->QueryInterface(InterfaceTraits<Interface>::id, result.putVoid())))
        (void)result.detach(); // a failed call may leave anything behind
    return result;
}

} // namespace kvdm
